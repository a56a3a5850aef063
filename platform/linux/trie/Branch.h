#pragma once

#include <bit>
#include <cstdint>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/trie/Memory.h"
#include "platform/linux/trie/Prefix.h"
#include "platform/linux/trie/Reader.h"

namespace velm::trie {

inline bool isNode(std::uint32_t word) { return leaf_kind_of(word) >= LEAF_TABLE; }
inline bool isBranch(std::uint32_t word) {
   return leaf_kind_of(word) == LEAF_BRANCH || leaf_kind_of(word) == LEAF_WIDE;
}

/// Of bits whose first ones lead into a branch.
inline unsigned slotOf(Bits bits) { return static_cast<unsigned>(bits >> (128 - TRIE_STRIDE)); }
/// The place, in a branch, of a prefix that ends there: 1 to 6 bits.
inline unsigned placeOf(Bits bits, unsigned length) {
   return 1U << length | static_cast<unsigned>(bits >> (128 - length));
}
inline unsigned lengthOf(unsigned place) { return static_cast<unsigned>(std::bit_width(place)) - 1; }

/// What the prefixes down to a word say: a leaf says it itself, a node inherits it.
std::uint32_t inherited(Memory const& memory, std::uint32_t word);
/// Tells everything below a node's word what the prefixes down to it say now.
void inherit(Memory const& memory, std::uint32_t word, std::uint32_t value);
/// The same for any word: a leaf is replaced.
void tell(Memory const& memory, std::uint32_t& word, std::uint32_t value);

/// A branch as the writer sees it: the words that the program reads, and the prefixes that end there. A prefix holds
/// the slots that it has and no longer one has. Runs part where what holds parts, and perhaps elsewhere: so a prefix
/// that goes takes nothing but stores.
class Branch {
 public:
   static constexpr unsigned slots = 1U << TRIE_STRIDE;
   static constexpr unsigned whole = 1;                         // the place of what is inherited
   static constexpr unsigned leastOrder = 1;                    // a unit alone is a skip
   static constexpr std::uint64_t allRuns = ~std::uint64_t{0};  // of a wide one

   /// Of an existing branch.
   Branch(Memory const& memory, std::uint32_t word);

   /// A new one in memory that is its own, with no prefix but what is inherited.
   static Branch make(Memory const& memory, Unit unit, std::uint64_t runs, std::uint32_t inherited);
   /// A copy in other memory, with the runs of this one, some of them parted, or put together where one prefix holds.
   Branch copy(Unit unit, std::uint64_t runs) const;

   /// log2 of the units that a branch of these runs takes.
   static unsigned orderOf(std::uint64_t runs);
   /// The starts of runs without which the slots of a place could have no word of their own.
   static std::uint64_t runsOf(unsigned place);
   /// As many runs as fit into the memory that these take: from the place on each slot begins one, so that routes which
   /// come in order find theirs.
   static std::uint64_t filledUp(std::uint64_t runs, unsigned place);

   std::uint32_t word() const { return word_; }
   Block block() const { return {leaf_index_of(word_), orderOf(runs())}; }
   std::uint64_t runs() const { return isWide() ? ~std::uint64_t{0} : node_->bits; }
   std::uint32_t& word(unsigned slot) const {
      return words_[isWide() ? slot : trie_count(node_->bits << (slots - 1 - slot)) - 1];
   }
   /// Calls fn(slot, word) for each run that begins among the slots of a place.
   template <class Fn>
   void forEachRun(unsigned place, Fn&& fn) const;

   bool holds(unsigned place) const { return (own_->held[place / slots] >> place % slots & 1U) != 0; }
   /// Of a prefix that is held.
   std::uint32_t value(unsigned place) const {
      return place < slots ? own_->value[index(place)] : velm::trie::inherited(*memory_, word(place - slots));
   }
   /// How many end here.
   unsigned prefixes() const { return trie_count(own_->held[0]) + trie_count(own_->held[1]) - 1; }
   /// The place of the first of them, where there is one.
   unsigned firstPrefix() const;
   /// The longest that has the slots of the place.
   unsigned holder(unsigned place) const {
      while (place > whole && !holds(place)) place /= 2;
      return place;
   }
   /// What the prefixes down to this branch say about a slot.
   std::uint32_t valueAt(unsigned slot) const { return value(holder(slots + slot)); }

   /// Adds a prefix, whose slots have runs of their own, and tells it to its slots.
   void add(unsigned place, std::uint32_t value);
   void change(unsigned place, std::uint32_t value);
   /// Takes away a prefix; the slots that it held are told what shorter ones say.
   void remove(unsigned place);

   /// Whether fewer runs would do and take less memory: those, else 0. `things` are its prefixes and nodes below.
   std::uint64_t fewerRuns(unsigned things) const;

 private:
   bool isWide() const { return leaf_kind_of(word_) == LEAF_WIDE; }
   // Of a place's value.
   unsigned index(unsigned place) const {
      return isWide() ? place : trie_count(own_->held[0] & ((std::uint64_t{1} << place) - 1));
   }
   void copyWords(Branch const& from) const;
   void copyPrefixes(Branch const& from) const;
   // Tells a value to those of a place's slots that the holder has.
   void paint(unsigned place, unsigned holder, std::uint32_t value) const;

   Memory const* memory_;
   std::uint32_t word_;
   trie_node* node_;
   std::uint32_t* words_;
   Prefixes* own_;
};

template <class Fn>
void Branch::forEachRun(unsigned place, Fn&& fn) const {
   auto const width = slots >> lengthOf(place);
   auto const first = place * width - slots;
   auto left = runs() >> first << first;
   if (first + width < slots) left &= (std::uint64_t{1} << (first + width)) - 1;
   auto* at = left == 0 ? nullptr : &word(static_cast<unsigned>(std::countr_zero(left)));
   for (; left != 0; left &= left - 1) fn(static_cast<unsigned>(std::countr_zero(left)), *at++);
}

}  // namespace velm::trie
