#include "platform/linux/forwarding/VrfRoutes.h"

#include <algorithm>
#include <utility>

namespace velm::machine {

std::uint32_t VrfRoutes::set(ip_prefix_t const& prefix, Rank rank, std::uint32_t leaf) {
   auto& trie = trieOf(prefix);
   auto const key = trie::prefixOf(prefix);
   auto found = others_.find(prefix);
   if (found == others_.end()) {
      if (rank == usual) return trie.set(key, leaf);
      found = others_.try_emplace(prefix).first;
      if (auto const present = trie.at(key); present != 0) found->second.push_back({usual, present});
   }
   auto& candidates = found->second;
   auto const place = std::ranges::lower_bound(candidates, rank, {}, &Candidate::rank);
   std::uint32_t before = 0;
   if (place != candidates.end() && place->rank == rank) {
      before = std::exchange(place->leaf, leaf);
   } else {
      candidates.insert(place, {rank, leaf});
   }
   trie.set(key, candidates.front().leaf);
   return before;
}

std::uint32_t VrfRoutes::del(ip_prefix_t const& prefix, Rank rank) {
   auto& trie = trieOf(prefix);
   auto const key = trie::prefixOf(prefix);
   auto const found = others_.find(prefix);
   if (found == others_.end()) return rank == usual ? trie.del(key) : 0;
   auto& candidates = found->second;
   auto const place = std::ranges::find(candidates, rank, &Candidate::rank);
   if (place == candidates.end()) return 0;
   auto const before = place->leaf;
   candidates.erase(place);
   if (candidates.empty()) {
      trie.del(key);
   } else {
      trie.set(key, candidates.front().leaf);
   }
   if (candidates.empty() || (candidates.size() == 1 && candidates.front().rank == usual)) others_.erase(found);
   return before;
}

std::optional<std::pair<ip_prefix_t, std::uint32_t>> VrfRoutes::covering(ip_addr_t const& address,
                                                                         ip_prefix_t const& but) {
   for (auto length = static_cast<int>(address_size(address.af()) * 8); length >= 0; --length) {
      ip_prefix_t const prefix(address, static_cast<unsigned char>(length));
      if (prefix == but) continue;
      if (auto const leaf = at(prefix); leaf != 0) return std::pair(prefix, leaf);
   }
   return std::nullopt;
}

void VrfRoutes::prefetch(std::span<ip_route_key_t const> keys) const {
   constexpr std::size_t most = 16;
   absl::InlinedVector<trie::Prefix, most> keys4;
   absl::InlinedVector<trie::Prefix, most> keys6;
   for (auto const& key : keys) {
      (key.prefix().af() == af_t::ipv6 ? keys6 : keys4).push_back(trie::prefixOf(key.prefix()));
   }
   ipv4_.prefetch(keys4);
   ipv6_.prefetch(keys6);
}

}  // namespace velm::machine
