#include "platform/linux/trie/Branch.h"

#include <algorithm>
#include <iterator>

namespace velm::trie {
namespace {

constexpr unsigned wideOrder = 4;

constexpr std::uint64_t bit(unsigned number) { return std::uint64_t{1} << number; }

unsigned lowest(std::uint64_t bits) { return static_cast<unsigned>(std::countr_zero(bits)); }

template <class Fn>
void forEachBit(std::uint64_t bits, Fn&& fn) {
   for (; bits != 0; bits &= bits - 1) fn(lowest(bits));
}

// In memory of an order below that of wide branches.
constexpr unsigned mostRuns(unsigned order) { return (4U << order) - 2; }
constexpr unsigned mostNarrow = mostRuns(2);
static_assert(mostNarrow == sizeof(trie_node::word) / sizeof(std::uint32_t));

}  // namespace

std::uint32_t inherited(Memory const& memory, std::uint32_t word) {
   if (!isNode(word)) return word;
   return isBranch(word) ? Branch(memory, word).value(Branch::whole) : memory.node(leaf_index_of(word)).word[0];
}

void inherit(Memory const& memory, std::uint32_t word, std::uint32_t value) {
   for (; leaf_kind_of(word) == LEAF_SKIP; word = memory.node(leaf_index_of(word)).word[1]) {
      publish(memory.node(leaf_index_of(word)).word[0], value);
   }
   if (isBranch(word)) Branch(memory, word).change(Branch::whole, value);
}

void tell(Memory const& memory, std::uint32_t& word, std::uint32_t value) {
   if (isNode(word)) {
      inherit(memory, word, value);
   } else {
      publish(word, value);
   }
}

Branch::Branch(Memory const& memory, std::uint32_t word)
   : memory_(&memory),
     word_(word),
     node_(&memory.node(leaf_index_of(word))),
     words_(isWide() ? reinterpret_cast<std::uint32_t*>(node_) : node_->word),
     own_(&memory.prefixes(leaf_index_of(word))) {}

Branch Branch::make(Memory const& memory, Unit unit, std::uint64_t runs, std::uint32_t inherited) {
   Branch made(memory, leaf_word(LEAF_BRANCH, unit));
   made.node_->bits = runs;
   std::fill_n(made.words_, trie_count(runs), inherited);
   made.own_->held[0] = bit(whole);
   made.own_->held[1] = 0;
   made.own_->value[0] = inherited;
   return made;
}

Branch Branch::copy(Unit unit, std::uint64_t runs) const {
   Branch made(*memory_, leaf_word(runs == allRuns ? LEAF_WIDE : LEAF_BRANCH, unit));
   if (!made.isWide()) made.node_->bits = runs;
   made.copyWords(*this);
   made.copyPrefixes(*this);
   return made;
}

void Branch::copyWords(Branch const& from) const {
   auto const here = from.runs();
   auto const* word = from.words_ - 1;
   auto* to = words_;
   if (isWide()) {  // the rule where routes come at random
      for (auto left = here; left != 0;) {
         left &= left - 1;
         to = std::fill_n(to, words_ + (left == 0 ? slots : lowest(left)) - to, *++word);
      }
      return;
   }
   for (auto left = runs() | here; left != 0; left &= left - 1) {
      auto const slot = lowest(left);
      word += here >> slot & 1U;
      if ((runs() >> slot & 1U) != 0) *to++ = *word;
   }
}

void Branch::copyPrefixes(Branch const& from) const {
   std::ranges::copy(from.own_->held, own_->held);
   unsigned count = 0;
   forEachBit(from.own_->held[0], [&](unsigned place) {
      own_->value[isWide() ? place : count] = from.own_->value[from.isWide() ? place : count];
      ++count;
   });
}

unsigned Branch::orderOf(std::uint64_t runs) {
   auto const count = trie_count(runs);
   if (count > mostNarrow) return wideOrder;
   return std::max(leastOrder, static_cast<unsigned>(std::bit_width((count + 1) / 4)));
}

std::uint64_t Branch::runsOf(unsigned place) {
   auto const width = slots >> lengthOf(place);
   auto const end = place * width - slots + width;
   return bit(end - width) | (end < slots ? bit(end) : 0);
}

std::uint64_t Branch::filledUp(std::uint64_t runs, unsigned place) {
   auto const order = orderOf(runs);
   if (order == wideOrder) return allRuns;
   auto const first = lowest(runsOf(place));
   auto free = ~runs >> first << first;
   for (auto room = mostRuns(order) - trie_count(runs); room > 0 && free != 0; --room) {
      runs |= free & -free;
      free &= free - 1;
   }
   return runs;
}

unsigned Branch::firstPrefix() const {
   auto const shorter = own_->held[0] & ~bit(whole);
   return shorter != 0 ? lowest(shorter) : slots + lowest(own_->held[1]);
}

void Branch::add(unsigned place, std::uint32_t value) {
   if (place < slots) {
      auto const at = index(place);
      auto const end = trie_count(own_->held[0]);
      if (!isWide()) std::copy_backward(own_->value + at, own_->value + end, own_->value + end + 1);
      own_->value[at] = value;
   }
   own_->held[place / slots] |= bit(place % slots);
   paint(place, place, value);
}

void Branch::change(unsigned place, std::uint32_t value) {
   if (place < slots) own_->value[index(place)] = value;
   paint(place, place, value);
}

void Branch::remove(unsigned place) {
   if (place < slots && !isWide()) {
      auto const at = index(place);
      std::copy(own_->value + at + 1, own_->value + trie_count(own_->held[0]), own_->value + at);
   }
   own_->held[place / slots] &= ~bit(place % slots);
   auto const now = holder(place);
   paint(place, now, value(now));
}

void Branch::paint(unsigned place, unsigned holder, std::uint32_t value) const {
   forEachRun(place, [&](unsigned slot, std::uint32_t& word) {
      if (this->holder(slots + slot) == holder) tell(*memory_, word, value);
   });
}

std::uint64_t Branch::fewerRuns(unsigned things) const {
   auto const order = orderOf(runs());
   auto const most = order == leastOrder ? 0 : order == wideOrder ? mostNarrow : mostRuns(order - 1);
   if (2 * things + 1 > most) return 0;  // each takes two at most
   auto runs = runsOf(whole);
   forEachBit(own_->held[0], [&](unsigned place) { runs |= runsOf(place); });
   forEachBit(own_->held[1], [&](unsigned slot) { runs |= runsOf(slots + slot); });
   forEachRun(whole, [&](unsigned slot, std::uint32_t word) {
      if (isNode(word)) runs |= runsOf(slots + slot);
   });
   return runs;
}

}  // namespace velm::trie
