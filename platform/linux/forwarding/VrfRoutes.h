#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/inlined_vector.h>

#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/trie/Memory.h"
#include "platform/linux/trie/Trie.h"
#include "platform/velm/ip.h"
#include "platform/velm/ip_route.h"

namespace velm::machine {

/// How good what leads to a prefix is: of several the least wins.
enum class Rank : std::uint16_t {
   own = 0,         // an address of ours
   connected = 1,   // a network that the switch is on
   programmed = 2,  // of preference 0; that of preference n is n more
   host = 1000,     // a host on such a network: what is programmed for it goes first
};
constexpr Rank rankOf(unsigned char preference) {
   return static_cast<Rank>(static_cast<unsigned>(Rank::programmed) + preference);
}

/// The routes of one VRF as packets look them up: of each prefix the best of what was set for it. The SDK lock guards
/// it.
class VrfRoutes {
 public:
   VrfRoutes(trie::Memory& memory, vrf& shared, trie::Trie::Form form)
      : ipv4_(memory, shared.ipv4, form), ipv6_(memory, shared.ipv6, form) {}
   VrfRoutes(VrfRoutes const&) = delete;
   VrfRoutes& operator=(VrfRoutes const&) = delete;

   /// Sets what leads to the prefix in that rank; the caller holds room for a change of the trie. The leaf that was
   /// there in this rank, or 0.
   std::uint32_t set(ip_prefix_t const& prefix, Rank rank, std::uint32_t leaf);
   /// The leaf that was there, or 0. Needs no room.
   std::uint32_t del(ip_prefix_t const& prefix, Rank rank);
   /// What leads to exactly this prefix; 0 if nothing does.
   std::uint32_t at(ip_prefix_t const& prefix) { return trieOf(prefix).at(trie::prefixOf(prefix)); }
   /// The longest prefix that has the address, but not that one, and what leads to it.
   std::optional<std::pair<ip_prefix_t, std::uint32_t>> covering(ip_addr_t const& address, ip_prefix_t const& but);
   /// How deep the route of a prefix rests on others; 0 for one that rests on none.
   unsigned level(ip_prefix_t const& prefix) const {
      auto const found = levels_.find(prefix);
      return found == levels_.end() ? 0 : found->second;
   }
   void levelIs(ip_prefix_t const& prefix, unsigned level) {
      if (level > 0)
         levels_.insert_or_assign(prefix, level);
      else if (!levels_.empty())
         levels_.erase(prefix);
   }
   /// Asks for what the routes' changes will read.
   void prefetch(std::span<ip_route_key_t const> keys) const;

 private:
   struct Candidate {
      Rank rank;
      std::uint32_t leaf;
   };
   using Candidates = absl::InlinedVector<Candidate, 2>;  // the best first

   // Nearly every prefix has one route, of the default preference. That lies in the trie alone.
   static constexpr Rank usual = rankOf(1);

   trie::Trie& trieOf(ip_prefix_t const& prefix) { return prefix.af() == af_t::ipv6 ? ipv6_ : ipv4_; }

   trie::Trie ipv4_;
   trie::Trie ipv6_;
   absl::btree_map<ip_prefix_t, Candidates> others_;  // prefixes with anything but a usual one
   absl::btree_map<ip_prefix_t, unsigned> levels_;    // of those that are not 0
};

}  // namespace velm::machine
