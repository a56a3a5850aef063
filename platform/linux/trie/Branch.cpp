#include "platform/linux/trie/Branch.h"

#include <algorithm>
#include <iterator>

namespace velm::trie {
namespace {

constexpr unsigned leastOrder = 1;  // a unit alone is a skip
constexpr unsigned wideOrder = 4;
constexpr std::uint64_t allRuns = ~std::uint64_t{0};

constexpr std::uint64_t bit(unsigned number) { return std::uint64_t{1} << number; }

unsigned lowest(std::uint64_t bits) { return static_cast<unsigned>(std::countr_zero(bits)); }

// In memory of an order below that of wide branches.
constexpr unsigned mostRuns(unsigned order) { return (4U << order) - 2; }
constexpr unsigned mostNarrow = mostRuns(2);
static_assert(mostNarrow == sizeof(trie_node::word) / sizeof(std::uint32_t));

}  // namespace

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
   made.own_->few.held[0] = bit(whole);
   made.own_->few.held[1] = 0;
   made.own_->few.value[0] = inherited;
   return made;
}

Branch Branch::copy(Unit unit, std::uint64_t runs) const {
   Branch made(*memory_, leaf_word(runs == allRuns ? LEAF_WIDE : LEAF_BRANCH, unit));
   if (!made.isWide()) made.node_->bits = runs;
   auto const* from = words_ - 1;
   auto* to = made.words_;
   auto const here = this->runs();
   for (auto left = runs | here; left != 0; left &= left - 1) {
      auto const slot = lowest(left);
      from += here >> slot & 1U;
      if ((runs >> slot & 1U) != 0) *to++ = *from;
   }
   made.copyPrefixes(*this);
   return made;
}

void Branch::copyPrefixes(Branch const& from) const {
   if (!isWide() && !from.isWide()) {
      std::ranges::copy(from.own_->few.held, own_->few.held);
      std::copy_n(from.own_->few.value, from.prefixes() + 1, own_->few.value);
      return;
   }
   if (isWide()) {
      std::ranges::fill(own_->many, 0);
   } else {
      own_->few.held[0] = own_->few.held[1] = 0;
   }
   auto* next = own_->few.value;
   for (auto place = whole; place < 2 * slots; ++place) {
      if (place != whole && !from.holds(place)) continue;
      if (!isWide()) own_->few.held[place / 64] |= bit(place % 64);
      (isWide() ? own_->many[place] : *next++) = from.value(place);
   }
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

unsigned Branch::prefixes() const {
   if (!isWide()) return trie_count(own_->few.held[0]) + trie_count(own_->few.held[1]) - 1;
   return static_cast<unsigned>(2 * slots - 2 - std::count(own_->many + 2, std::end(own_->many), 0));
}

unsigned Branch::firstPrefix() const {
   auto place = whole + 1;
   while (!holds(place)) ++place;
   return place;
}

void Branch::add(unsigned place, std::uint32_t value) {
   if (isWide()) {
      own_->many[place] = value;
   } else {
      auto& few = own_->few;
      auto const at = rank(place);
      auto const end = prefixes() + 1;
      std::copy_backward(few.value + at, few.value + end, few.value + end + 1);
      few.value[at] = value;
      few.held[place / 64] |= bit(place % 64);
   }
   paint(place, place, value);
}

void Branch::change(unsigned place, std::uint32_t value) {
   this->value(place) = value;
   paint(place, place, value);
}

void Branch::remove(unsigned place) {
   if (isWide()) {
      own_->many[place] = 0;
   } else {
      auto& few = own_->few;
      auto const at = rank(place);
      std::copy(few.value + at + 1, few.value + prefixes() + 1, few.value + at);
      few.held[place / 64] &= ~bit(place % 64);
   }
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
   for (auto place = whole + 1; place < 2 * slots; ++place) {
      if (holds(place)) runs |= runsOf(place);
   }
   forEachRun(whole, [&](unsigned slot, std::uint32_t word) {
      if (isNode(word)) runs |= runsOf(slots + slot);
   });
   return runs;
}

}  // namespace velm::trie
