#include "platform/linux/trie/Pack.h"

#include "platform/linux/trie/Branch.h"

namespace velm::trie {
namespace {

bool packSkip(Memory& memory, std::uint32_t& link) {
   Block const old{leaf_index_of(link), 0};
   auto const block = memory.takeBetter(old);
   if (!block) return false;
   auto const& from = memory.node(old.unit);
   auto& to = memory.node(block->unit);
   to.bits = from.bits;
   to.word[0] = from.word[0];
   to.word[1] = from.word[1];
   publish(link, leaf_word(LEAF_SKIP, block->unit));
   memory.retire(old);
   return true;
}

bool packBranch(Memory& memory, std::uint32_t& link) {
   Branch const branch(memory, link);
   auto const old = branch.block();
   auto const block = memory.takeBetter(old);
   if (!block) return false;
   publish(link, branch.copy(block->unit, branch.runs()).word());
   memory.retire(old);
   return true;
}

}  // namespace

std::size_t pack(Memory& memory, std::uint32_t& word) {
   std::size_t moved = 0;
   auto* link = &word;
   while (leaf_kind_of(*link) == LEAF_SKIP) {
      if (packSkip(memory, *link)) ++moved;
      link = &memory.node(leaf_index_of(*link)).word[1];
   }
   if (!isBranch(*link)) return moved;
   if (packBranch(memory, *link)) ++moved;
   Branch(memory, *link).forEachRun(Branch::whole, [&](unsigned, std::uint32_t& below) {
      if (isNode(below)) moved += pack(memory, below);
   });
   return moved;
}

}  // namespace velm::trie
