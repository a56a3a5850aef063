#include "platform/linux/trie/Skip.h"

#include <algorithm>

namespace velm::trie {

Way follow(Memory const& memory, std::uint32_t& word) {
   Way way{.end = &word};
   while (leaf_kind_of(*way.end) == LEAF_SKIP) {
      auto const unit = leaf_index_of(*way.end);
      auto& node = memory.node(unit);
      auto const length = static_cast<unsigned>(node.bits & 63U);
      way.bits |= bitsOf(node.bits >> (64 - length) << (64 - length), 0) >> way.length;
      way.length += length;
      way.otherwise = node.word[0];
      way.units[way.count++] = unit;
      way.end = &node.word[1];
   }
   return way;
}

void retire(Memory& memory, Way const& way) {
   for (unsigned i = 0; i < way.count; ++i) memory.retire({way.units[i], 0});
}

Draft::~Draft() {
   while (count_ > 0) memory_.put(taken_[--count_]);
}

std::uint32_t Draft::way(Bits bits, unsigned length, std::uint32_t end, std::uint32_t otherwise) {
   if (length == 0) return end;
   auto const here = std::min<unsigned>(length, TRIE_MAX_SKIP);
   auto const unit = take(0);
   auto const next = unit == 0 ? 0 : way(bits << here, length - here, end, otherwise);
   if (next == 0) return 0;
   auto& node = memory_.node(unit);
   node.bits = highOf(bits) >> (64 - here) << (64 - here) | here;
   node.word[0] = otherwise;
   node.word[1] = next;
   return leaf_word(LEAF_SKIP, unit);
}

Unit Draft::branch(std::uint64_t runs) { return take(Branch::orderOf(runs)); }

Unit Draft::take(unsigned order) {
   auto const block = memory_.take(order, claim_);
   if (!block) return 0;
   taken_[count_++] = *block;
   return block->unit;
}

}  // namespace velm::trie
