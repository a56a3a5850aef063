#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/trie/BitTree.h"

namespace velm::trie {

using Unit = std::uint32_t;

/// So many units side by side: a power of two of them, at a multiple of it.
struct Block {
   Unit unit = 0;
   unsigned order = 0;  // log2 of its units
};

/// Which units of a memory are free. A block is halved until it fits, and freed halves come together again. Single
/// units are taken from above and larger blocks from below, so that neither breaks up what the other needs. All steps
/// take constant time. Touches none of the memory. Not thread-safe.
class Pool {
 public:
   static constexpr unsigned wholeOrder = 5;

   /// Manages the whole blocks, of the largest order, that lie in [first, end).
   Pool(Unit first, Unit end);

   /// Nothing if there is no such block, or if one of the last `kept` whole ones would have to be broken up.
   std::optional<Block> take(unsigned order, std::size_t kept);
   /// A block of that order on its side; nothing if there is none, or if it would break up what is kept.
   std::optional<Block> takeInPlace(unsigned order, std::size_t kept);
   void put(Block block);
   /// Whether a block that was taken lies where all of its kind would have room, and some to spare.
   bool isInPlace(Block block) const;

   std::size_t wholeBlocks() const { return free_[wholeOrder].size(); }
   std::size_t units() const { return end_ - first_; }
   std::size_t usedUnits() const { return single_ + larger_; }
   std::size_t freeUnits() const { return units() - usedUnits(); }

 private:
   static bool isSingle(unsigned order) { return order == 0; }
   std::size_t outermost(unsigned order, bool single) const {
      return single ? free_[order].greatest() : free_[order].least();
   }
   Block breakUp(unsigned from, unsigned order);

   std::vector<BitTree> free_;  // for each order, by unit >> order
   Unit first_;
   Unit end_;
   std::size_t single_ = 0;  // units taken singly
   std::size_t larger_ = 0;  // in larger blocks
};

}  // namespace velm::trie
