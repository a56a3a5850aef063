#pragma once

#include <array>
#include <cstdint>

#include "platform/linux/trie/Branch.h"
#include "platform/linux/trie/Memory.h"
#include "platform/linux/trie/Prefix.h"

namespace velm::trie {

/// The skips from one word to the next that names none, seen as one.
struct Way {
   Bits bits = 0;
   unsigned length = 0;
   std::uint32_t otherwise = 0;   // the leaf of addresses that have other bits
   std::uint32_t* end = nullptr;  // the word behind: a prefix's leaf, or a branch
   std::array<Unit, 3> units{};
   unsigned count = 0;

   bool leadsToBranch() const { return isNode(*end); }
};

/// The way that begins at a word; of no length if that names no skip.
Way follow(Memory const& memory, std::uint32_t& word);
void retire(Memory& memory, Way const& way);

/// New nodes that no word names yet; given back unless they are kept.
class Draft {
 public:
   Draft(Memory& memory, Memory::Claim claim) : memory_(memory), claim_(claim) {}
   ~Draft();
   Draft(Draft const&) = delete;
   Draft& operator=(Draft const&) = delete;

   /// The word of a way of new skips; `end` itself if it has no length. Zero if there is no room.
   std::uint32_t way(Bits bits, unsigned length, std::uint32_t end, std::uint32_t otherwise);
   /// The unit for a branch of so many runs; no node is 0, which says that there is no room.
   Unit branch(std::uint64_t runs);

   void keep() { count_ = 0; }

 private:
   Unit take(unsigned order);

   Memory& memory_;
   Memory::Claim const claim_;
   std::array<Block, 10> taken_;  // three ways of three skips and a branch
   unsigned count_ = 0;
};

}  // namespace velm::trie
