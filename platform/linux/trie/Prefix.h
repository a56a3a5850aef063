#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <endian.h>

#include "platform/velm/ip.h"

namespace velm::trie {

/// An address, or what is left of one, with its first bit on top.
using Bits = unsigned __int128;

inline std::uint64_t highOf(Bits bits) { return static_cast<std::uint64_t>(bits >> 64); }
inline std::uint64_t lowOf(Bits bits) { return static_cast<std::uint64_t>(bits); }
inline Bits bitsOf(std::uint64_t high, std::uint64_t low) { return Bits{high} << 64 | low; }

/// How many bits two have in common at their front.
inline unsigned alike(Bits a, Bits b) {
   auto const high = highOf(a ^ b);
   return static_cast<unsigned>(high != 0 ? std::countl_zero(high) : 64 + std::countl_zero(lowOf(a ^ b)));
}

/// The first bits of addresses, at most 128; those behind are zero.
struct Prefix {
   Bits bits = 0;
   unsigned length = 0;
};

/// IPv4 addresses are the upper 32 bits.
inline Bits bitsOf(ip_addr_t const& address) {
   std::uint64_t words[2];
   std::memcpy(words, address.addr(), sizeof words);
   return bitsOf(be64toh(words[0]), be64toh(words[1]));
}
inline Prefix prefixOf(ip_prefix_t const& prefix) { return {bitsOf(prefix.network()), prefix.prefix_length()}; }

}  // namespace velm::trie
