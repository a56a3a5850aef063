#include "platform/linux/Sizes.h"

#include "platform/linux/forwarding/Vrfs.h"
#include "platform/linux/trie/Memory.h"

namespace velm::machine {

Sizes sizesFor(embedded::DataplaneCapacity const& capacity) {
   // Twice what a route takes where a million of them lie at random, for they may lie worse, and for what waits.
   constexpr std::size_t ipv4Route = 80;
   constexpr std::size_t ipv6Route = 200;
   constexpr std::size_t least = 8 << 20;
   auto const nodes = capacity.ipv4Routes * ipv4Route + capacity.ipv6Routes * ipv6Route + least;
   // Index 0 is nobody's. Groups of a few members are the rule; one of 65,536 has a quarter of these buckets.
   return {.trieBytes = trie::Memory::bytesFor(Vrfs::tables, nodes),
           .groups = capacity.groups + 1,
           .buckets = 1U << 21,
           .exits = 1U << 16,
           .hops = 1U << 14};
}

}  // namespace velm::machine
