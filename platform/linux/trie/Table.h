#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/trie/Memory.h"
#include "platform/linux/trie/Prefix.h"

namespace velm::trie {

/// The table at the top of a large trie, and the prefixes that end in it: those of 1 to 18 bits. A prefix has a place
/// as in a branch.
class Table {
 public:
   explicit Table(Memory& memory);

   static bool holds(Prefix const& prefix) { return prefix.length <= TRIE_TABLE_BITS; }
   /// The word that names it.
   std::uint32_t word() const { return leaf_word(LEAF_TABLE, unit_); }
   /// Where the way of an address goes on.
   std::uint32_t& word(Bits bits) const { return words_[static_cast<std::size_t>(bits >> (128 - TRIE_TABLE_BITS))]; }
   std::span<std::uint32_t> words() const { return words_; }

   /// The leaf of exactly this prefix, or 0.
   std::uint32_t at(Prefix const& prefix) const { return values_[placeOf(prefix)]; }
   void set(Prefix const& prefix, std::uint32_t leaf);
   void del(Prefix const& prefix);
   /// Forgets the prefixes and makes all words 0.
   void clear();

 private:
   static std::size_t placeOf(Prefix const& prefix) {
      return std::size_t{1} << prefix.length | static_cast<std::size_t>(prefix.bits >> (128 - prefix.length));
   }
   // Tells a value to the slots of a place, but for those that a longer prefix holds.
   void paint(std::size_t place, std::uint32_t value);

   Memory& memory_;
   Unit const unit_;
   std::span<std::uint32_t> const words_;
   std::vector<std::uint32_t> values_;  // by place; 0 where there is no prefix
};

}  // namespace velm::trie
