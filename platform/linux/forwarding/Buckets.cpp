#include "platform/linux/forwarding/Buckets.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace velm::machine {
namespace {

// How many of `buckets` each weight asks for, by the largest remainders, so that they sum up exactly. Of equal
// remainders the earlier member's counts as larger.
std::vector<std::uint32_t> fairShares(std::size_t buckets, std::span<std::uint32_t const> weights) {
   auto const total = std::accumulate(weights.begin(), weights.end(), std::uint64_t{0});
   std::vector<std::uint32_t> shares(weights.size());
   std::vector<std::pair<std::uint64_t, std::uint32_t>> remainders;
   std::uint64_t given = 0;
   for (std::uint32_t member = 0; member < weights.size(); ++member) {
      auto const exact = std::uint64_t{weights[member]} * buckets;
      shares[member] = static_cast<std::uint32_t>(exact / total);
      given += shares[member];
      remainders.emplace_back(exact % total, member);
   }
   std::ranges::sort(remainders, [](auto const& a, auto const& b) {
      return a.first != b.first ? a.first > b.first : a.second < b.second;
   });
   for (std::size_t i = 0; given < buckets; ++i, ++given) ++shares[remainders[i].second];
   return shares;
}

}  // namespace

std::uint32_t bucketCount(std::size_t members) {
   constexpr std::size_t most = 1U << 17;
   if (members <= 1) return 1;
   return static_cast<std::uint32_t>(std::bit_ceil(std::min(members * 8, most)));
}

std::vector<std::uint32_t> assignBuckets(std::span<std::uint32_t const> present,
                                         std::span<std::uint32_t const> weights) {
   auto left = fairShares(present.size(), weights);
   std::vector<std::uint32_t> owners(present.begin(), present.end());
   for (auto& owner : owners) {
      if (owner == nobody) continue;
      if (left[owner] == 0) {
         owner = nobody;
      } else {
         --left[owner];
      }
   }
   // The free ones go round the members, so that neighbours in a table of buckets differ.
   std::uint32_t member = 0;
   for (auto& owner : owners) {
      if (owner != nobody) continue;
      while (left[member] == 0) member = member + 1 == left.size() ? 0 : member + 1;
      owner = member;
      --left[member];
      member = member + 1 == left.size() ? 0 : member + 1;
   }
   return owners;
}

}  // namespace velm::machine
