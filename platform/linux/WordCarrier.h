#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/forwarding/Resting.h"
#include "platform/switch/Carrier.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace velm::machine {

/// The hops of vias that name no interface.
template <class Vias>
std::vector<ip_addr_t> hopsAloneOf(Vias const& vias) {
   std::vector<ip_addr_t> hops;
   for (auto const& via : vias) {
      if (via.intf() == intf_id_t() && via.hop().af() != af_t::none) hops.push_back(via.hop());
   }
   return hops;
}

/// Carries out rows that each lead packets somewhere. What a row leads to is a word, which packets find in shared
/// memory. A room is such a word, taken with all that it needs; it is used by the change, or given back.
template <class Key, class Row>
class WordCarrier : public embedded::Carrier<Key, Row>, embedded::Room::Keeper {
 public:
   /// Something could not be carried out that was not to be refused.
   using Warn = std::function<void(std::string const&)>;

   embedded::Room prepare(Key const& key, Row const* now, Row const& next) override {
      if (auto const word = take(key, next); word != 0) return {*this, word};
      return now == nullptr ? embedded::Room(*this, noChange) : embedded::Room();
   }
   void carryOut(Key const& key, Row const* now, embedded::Room room) noexcept override {
      if (now != nullptr && !room) room = roomAfterPurge(key, *now);
      if (auto const word = room.use(); word != noChange) become(key, word);
      noteHops(key, now);
   }
   /// Packets for it are dropped.
   void refused(Key const& key, Row const& /*row*/, std::string const& why) override {
      ++refused_;
      warn_(fmt::format("{} drops: {}", nameOf(key), why));
      drop(key);
   }
   std::size_t refusedRows() const { return refused_; }

   /// What leads to addresses of the prefix has changed: rows with such a hop may lead elsewhere now.
   void renew(ip_prefix_t const& changed) {
      std::vector<Key> keys;
      for (auto it = byHop_.lower_bound(changed.network()); it != byHop_.end(); ++it) {
         if (ip_prefix_t(it->first, changed.prefix_length()) != changed) break;
         keys.insert(keys.end(), it->second.begin(), it->second.end());
      }
      for (auto const& key : keys) renewRow(key);
   }
   /// All of them may.
   void renewAll() {
      std::vector<Key> keys;
      for (auto const& [key, row] : resting_) keys.push_back(key);
      for (auto const& key : keys) renewRow(key);
   }

 protected:
   /// Hops of its rows are sought in the VRF.
   WordCarrier(std::string vrf, Resting& rests, Warn warn)
      : vrf_(std::move(vrf)), rests_(rests), warn_(std::move(warn)) {}

   std::string const& vrf() const { return vrf_; }

   /// What the row leads to; 0 if that is nothing now. Throws unsupported_error, or velm::error if there is no room.
   virtual std::uint64_t take(Key const& key, Row const& row) = 0;
   /// A word that was taken does not come after all.
   virtual void giveUp(std::uint64_t word) noexcept = 0;
   /// Packets find the word, or nothing for 0, before this returns. What they found before is given up.
   virtual void become(Key const& key, std::uint64_t word) noexcept = 0;
   /// The same of a word that drops, where there is room for it.
   virtual void drop(Key const& key) = 0;
   /// The hops of ways that name no interface. Empty for nearly all, and then to be cheap.
   virtual std::vector<ip_addr_t> hopsOf(Key const& key, Row const& row) const = 0;
   virtual std::string nameOf(Key const& key) const = 0;

 private:
   // What a room is made of where the change is none here: the row is new and leads nowhere, as one does whose vias are
   // yet to come. So that it costs no look at the tables.
   static constexpr auto noChange = ~std::uint64_t{0};

   void giveBack(std::uint64_t word) noexcept override {
      if (word != noChange) giveUp(word);
   }
   // A purge takes vias away without asking first. What is left, in a full table, is then missing from it.
   embedded::Room roomAfterPurge(Key const& key, Row const& row) {
      try {
         return prepare(key, &row, row);
      } catch (error const& e) {
         warn_(e.msg());
         return {};
      }
   }
   void noteHops(Key const& key, Row const* now) {
      if (!resting_.empty()) forgetHops(key);
      if (now == nullptr) return;
      auto const hops = hopsOf(key, *now);
      if (hops.empty()) return;
      resting_.emplace(key, *now);
      for (auto const& hop : hops) {
         if (byHop_[hop].insert(key).second) rests_.hopCame(vrf_, hop);
      }
   }
   void forgetHops(Key const& key) {
      auto const found = resting_.find(key);
      if (found == resting_.end()) return;
      for (auto const& hop : hopsOf(key, found->second)) {
         auto const rows = byHop_.find(hop);
         if (rows == byHop_.end() || rows->second.erase(key) == 0) continue;
         rests_.hopWent(vrf_, hop);
         if (rows->second.empty()) byHop_.erase(rows);
      }
      resting_.erase(found);
   }
   void renewRow(Key const& key) {
      try {
         become(key, take(key, resting_.at(key)));
      } catch (error const& e) {
         warn_(fmt::format("{} stays as it was: {}", nameOf(key), e.what()));
      }
   }

   std::string const vrf_;
   Resting& rests_;
   Warn const warn_;
   absl::flat_hash_map<Key, Row> resting_;                       // rows with hops that name no interface
   absl::btree_map<ip_addr_t, absl::flat_hash_set<Key>> byHop_;  // of these
   std::size_t refused_ = 0;
};

}  // namespace velm::machine
