#pragma once

#include <absl/container/flat_hash_map.h>
#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "platform/switch/Carrier.h"
#include "platform/velm/errors.h"

namespace velm::machine {

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
      noteAdrift(key, now);
   }
   /// Packets for it are dropped.
   void refused(Key const& key, Row const& /*row*/, std::string const& why) override {
      ++refused_;
      warn_(fmt::format("{} drops: {}", nameOf(key), why));
      drop(key);
   }
   std::size_t refusedRows() const { return refused_; }

   /// Which networks the switch is on has changed: where vias name no interface they may lead elsewhere now.
   void networksChanged() {
      for (auto const& [key, row] : adrift_) {
         try {
            become(key, take(key, row));
         } catch (error const& e) {
            warn_(fmt::format("{} stays as it was: {}", nameOf(key), e.what()));
         }
      }
   }

 protected:
   explicit WordCarrier(Warn warn) : warn_(std::move(warn)) {}

   /// What the row leads to; 0 if that is nothing now. Throws unsupported_error, or velm::error if there is no room.
   virtual std::uint64_t take(Key const& key, Row const& row) = 0;
   /// A word that was taken does not come after all.
   virtual void giveUp(std::uint64_t word) noexcept = 0;
   /// Packets find the word, or nothing for 0, before this returns. What they found before is given up.
   virtual void become(Key const& key, std::uint64_t word) noexcept = 0;
   /// The same of a word that drops, where there is room for it.
   virtual void drop(Key const& key) = 0;
   /// Whether the row has ways that name no interface.
   virtual bool isAdrift(Key const& key, Row const& row) const = 0;
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
   void noteAdrift(Key const& key, Row const* now) {
      if (!adrift_.empty()) adrift_.erase(key);
      if (now != nullptr && isAdrift(key, *now)) adrift_.emplace(key, *now);
   }

   Warn const warn_;
   absl::flat_hash_map<Key, Row> adrift_;
   std::size_t refused_ = 0;
};

}  // namespace velm::machine
