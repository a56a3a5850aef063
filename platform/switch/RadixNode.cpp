#include "platform/switch/RadixNode.h"

#include <algorithm>
#include <new>

// Nodes with few children keep them side by side, ordered by digit, and find one by counting the bits before its own; a
// node that has outgrown 28 gives each digit its slot. Room grows by a half at least, from 4 over 12 and 28 to 64, and
// is halved only once three quarters of it are empty, so that a node at a border does not change its size all the time.
namespace velm::embedded {
namespace {

constexpr unsigned leastRoom = 4;

}  // namespace

RadixNode* RadixNode::make(RadixPlace place, std::uint64_t front) { return make(place, front, leastRoom); }

RadixNode* RadixNode::make(RadixPlace place, std::uint64_t front, unsigned room) {
   return new (::operator new(sizeof(RadixNode) + room * sizeof(RadixChild))) RadixNode(place, front, room);
}

void RadixNode::free(RadixNode* node) { ::operator delete(node); }

RadixNode* RadixNode::resized(RadixNode* node, unsigned room) {
   auto* const other = make(node->place_, node->front_, room);
   other->used_ = node->used_;
   for (auto digit = node->from(0); digit != noDigit; digit = node->from(digit + 1)) {
      other->child(digit) = node->child(digit);
   }
   free(node);
   return other;
}

RadixNode* RadixNode::insert(RadixNode* node, unsigned digit, RadixChild child) {
   auto const size = node->size();
   if (size == node->room_) node = resized(node, size < 28 ? 2 * size + 4 : mostRoom);
   if (node->room_ != mostRoom) {
      auto* const slots = node->slots();
      std::copy_backward(slots + node->rankOf(digit), slots + size, slots + size + 1);
   }
   node->used_ |= std::uint64_t{1} << digit;
   node->child(digit) = child;
   return node;
}

RadixChild RadixNode::erase(RadixNode* node, unsigned digit) {
   auto const size = node->size() - 1;
   auto* const slots = node->slots();
   auto const rank = node->rankOf(digit);
   if (node->room_ != mostRoom) std::copy(slots + rank + 1, slots + size + 1, slots + rank);
   node->used_ &= ~(std::uint64_t{1} << digit);
   if (size == 1) {
      auto const last = node->child(node->from(0));
      free(node);
      return last;
   }
   bool const sparse = node->room_ > leastRoom && size <= node->room_ / 4;
   return RadixChild(sparse ? resized(node, (node->room_ - 4) / 2) : node);
}

}  // namespace velm::embedded
