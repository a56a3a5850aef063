#include "platform/linux/trie/Pool.h"

namespace velm::trie {
namespace {

constexpr Unit whole = Unit{1} << Pool::wholeOrder;

}  // namespace

Pool::Pool(Unit first, Unit end) : first_((first + whole - 1) / whole * whole), end_(end / whole * whole) {
   for (unsigned order = 0; order <= wholeOrder; ++order) free_.emplace_back((end_ >> order) + 1);
   for (auto unit = first_; unit < end_; unit += whole) free_[wholeOrder].insert(unit >> wholeOrder);
}

std::optional<Block> Pool::take(unsigned order, std::size_t kept) {
   auto from = order;
   while (from <= wholeOrder && free_[from].empty()) ++from;
   if (from > wholeOrder || (from == wholeOrder && wholeBlocks() <= kept)) return std::nullopt;
   return breakUp(from, order);
}

std::optional<Block> Pool::takeInPlace(unsigned order, std::size_t kept) {
   for (auto from = order; from <= wholeOrder; ++from) {
      if (free_[from].empty() || (from == wholeOrder && wholeBlocks() <= kept)) continue;
      auto const unit = static_cast<Unit>(outermost(from, isSingle(order)) << from);
      if (isInPlace({unit, order})) return breakUp(from, order);
   }
   return std::nullopt;
}

Block Pool::breakUp(unsigned from, unsigned order) {
   auto place = outermost(from, isSingle(order));
   free_[from].erase(place);
   while (from > order) {
      --from;
      place = 2 * place + (isSingle(order) ? 1 : 0);
      free_[from].insert(place ^ 1);
   }
   (isSingle(order) ? single_ : larger_) += std::size_t{1} << order;
   return {static_cast<Unit>(place << order), order};
}

void Pool::put(Block block) {
   (isSingle(block.order) ? single_ : larger_) -= std::size_t{1} << block.order;
   auto order = block.order;
   std::size_t place = block.unit >> order;
   while (order < wholeOrder && free_[order].contains(place ^ 1)) {
      free_[order].erase(place ^ 1);
      place /= 2;
      ++order;
   }
   free_[order].insert(place);
}

bool Pool::isInPlace(Block block) const {
   auto const used = isSingle(block.order) ? single_ : larger_;
   auto const share = used + used / 8 + whole;
   return isSingle(block.order) ? block.unit + share >= end_ : block.unit < first_ + share;
}

}  // namespace velm::trie
