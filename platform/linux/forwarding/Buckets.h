#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace velm::machine {

/// Resilient hashing: a group's traffic is cut into many buckets, each of which belongs to a member, so that a member
/// that goes moves only its own traffic.
///
/// Two things decide where a bucket's packets go. Which member it belongs to follows from the group's members and,
/// where the group replaced another, from that one. Which member serves it follows from that and from who is usable
/// now, and from nothing else: a member that was away gets back just what it had.
constexpr std::uint32_t nobody = 0xffffffff;

/// How many buckets members of this number get: a power of two, enough to be fair within an eighth.
std::uint32_t bucketCount(std::size_t members);

/// Gives each bucket to a member: to each as many as its weight asks for, to within one. `present` tells whose each
/// bucket is now, by its number among the members, or nobody's; as few as possible change hands. Weights may be 0, but
/// not all of them.
std::vector<std::uint32_t> assignBuckets(std::span<std::uint32_t const> present,
                                         std::span<std::uint32_t const> weights);

/// Who serves a bucket whose member is not usable: one that is usable, or nobody if there is none. As long as that one
/// stays usable it is the same, whoever else comes or goes after the members have been asked in the bucket's own order.
template <class Usable>
std::uint32_t standIn(std::uint32_t bucket, std::uint32_t members, Usable&& usable) {
   constexpr std::uint32_t tries = 64;  // by then fewer than one of thirty is usable, and a walk is as good
   std::uint64_t place = bucket;
   for (std::uint32_t i = 0; i < tries; ++i) {
      place = place * 6364136223846793005U + 1442695040888963407U;
      auto const member = static_cast<std::uint32_t>((place >> 32) * members >> 32);
      if (usable(member)) return member;
   }
   for (std::uint32_t i = 0; i < members; ++i) {
      auto const member = static_cast<std::uint32_t>((bucket + std::uint64_t{i}) % members);
      if (usable(member)) return member;
   }
   return nobody;
}

}  // namespace velm::machine
