// What a deletion does to a trie, and what it leaves in a better shape.

#include "platform/linux/trie/Trie.h"

namespace velm::trie {
namespace {

constexpr unsigned noSlot = Branch::slots;

/// The nodes below a branch, as far as two.
struct Children {
   unsigned count = 0;
   unsigned slot = noSlot;  // of one of them
};

Children childrenOf(Branch const& branch) {
   Children children;
   branch.forEachRun(Branch::whole, [&](unsigned slot, std::uint32_t word) {
      if (!isNode(word)) return;
      ++children.count;
      children.slot = slot;
   });
   return children;
}

}  // namespace

std::uint32_t Trie::del(Prefix const& prefix) {
   if (prefix.length == 0) return replaceFallback(0);
   if (table_ && Table::holds(prefix)) {
      auto const before = table_->at(prefix);
      table_->del(prefix);
      return before;
   }
   Descent descent;
   descend(prefix, descent);
   auto const before = found(descent);
   if (before == 0) return 0;
   if (descent.end == Descent::End::skip) {
      publish(*descent.entry, descent.way.otherwise);
      retire(memory_, descent.way);
   } else {
      last(descent).remove(placeOf(descent.bits, descent.length));
   }
   tidy(descent);
   return before;
}

// A branch from which nothing goes is none; one with a single way is a skip; one with few has less memory.
void Trie::tidy(Descent const& descent) {
   for (auto depth = descent.depth; depth > 0; --depth) {
      auto const& at = descent.passed[depth - 1];
      Branch const branch(memory_, *at.link);
      auto const children = childrenOf(branch);
      auto const things = branch.prefixes() + children.count;
      if (things == 1) return join(at, children.slot);
      if (things > 1) return shrink(at, things);
      collapse(at);
   }
}

void Trie::collapse(Passed const& at) {
   Branch const branch(memory_, *at.link);
   auto const way = follow(memory_, *at.entry);
   publish(*at.entry, branch.value(Branch::whole));
   retire(memory_, way);
   memory_.retire(branch.block());
}

void Trie::join(Passed const& at, unsigned child) {
   Branch const branch(memory_, *at.link);
   auto const way = follow(memory_, *at.entry);
   Way below;  // from the branch on
   std::uint32_t end = 0;
   if (child == noSlot) {
      auto const place = branch.firstPrefix();
      below.length = lengthOf(place);
      below.bits = Bits{place} << (128 - below.length);
      end = branch.value(place);
   } else {
      below = follow(memory_, branch.word(child));
      below.bits = Bits{child} << (128 - TRIE_STRIDE) | below.bits >> TRIE_STRIDE;
      below.length += TRIE_STRIDE;
      end = *below.end;
   }
   Draft draft(memory_, Memory::Claim::unpromised);
   auto const word =
      draft.way(way.bits | below.bits >> way.length, way.length + below.length, end, branch.value(Branch::whole));
   if (word == 0) return;
   publish(*at.entry, word);
   retire(memory_, way);
   retire(memory_, below);
   memory_.retire(branch.block());
   draft.keep();
}

void Trie::shrink(Passed const& at, unsigned things) {
   Branch const branch(memory_, *at.link);
   auto const runs = branch.fewerRuns(things);
   if (runs == 0) return;
   Draft draft(memory_, Memory::Claim::unpromised);
   auto const unit = draft.branch(runs);
   if (unit == 0) return;
   replace(branch, branch.copy(unit, runs), *at.link);
   draft.keep();
}

void Trie::clear() {
   publish(root_.fallback, 0);
   if (!table_) return retireAll(root_.top);
   for (auto& word : table_->words()) retireAll(word);
   table_->clear();
}

void Trie::retireAll(std::uint32_t& word) {
   auto const way = follow(memory_, word);
   auto const end = *way.end;
   publish(word, 0);
   retire(memory_, way);
   if (!isBranch(end)) return;
   Branch const branch(memory_, end);
   branch.forEachRun(Branch::whole, [this](unsigned, std::uint32_t& below) { retireAll(below); });
   memory_.retire(branch.block());
}

}  // namespace velm::trie
