#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace velm::embedded {

class RadixNode;

/// A link to nothing, an entry or a node: the root of a tree, or one of a node's children.
class RadixChild {
 public:
   RadixChild() = default;
   explicit RadixChild(RadixNode* node) : place_(reinterpret_cast<char*>(node)) {}
   explicit RadixChild(void* entry) : place_(static_cast<char*>(entry) + 1) {}

   explicit operator bool() const { return place_ != nullptr; }
   bool isEntry() const { return (reinterpret_cast<std::uintptr_t>(place_) & 1) != 0; }
   void* entry() const { return place_ - 1; }
   /// The address of the node or entry.
   void const* address() const { return isEntry() ? place_ - 1 : place_; }
   /// Null for an entry.
   RadixNode* node() const { return isEntry() ? nullptr : reinterpret_cast<RadixNode*>(place_); }

 private:
   char* place_ = nullptr;  // what has memory of its own lies at even addresses: that of an entry is made odd
};

/// Where a digit lies in a key's words of 64 bits, by the bits before it. Digits have six bits; the eleventh of a word
/// shares two of them with the tenth, which does no harm: those who meet there are alike in the tenth.
using RadixPlace = std::uint32_t;

inline std::size_t wordOf(RadixPlace place) { return place / 64; }
inline unsigned digitAt(RadixPlace place, std::uint64_t word) {
   return static_cast<unsigned>(word >> (58 - place % 64)) & 63U;
}
/// The first digit in which two words of that index differ.
inline RadixPlace firstDifference(std::size_t index, std::uint64_t a, std::uint64_t b) {
   auto const bit = static_cast<unsigned>(std::countl_zero(a ^ b));
   return static_cast<RadixPlace>(index * 64 + (bit < 60 ? bit / 6 * 6 : 58));
}

/// The place where keys part that are alike in all digits before: a child for each digit that occurs, two at least. Few
/// children lie side by side, many at their digits. A node moves when its children change; whoever holds it is its
/// owner.
class RadixNode {
 public:
   static constexpr unsigned noDigit = 64;

   /// A node with room for a few children and none yet. `front` is the first word of the keys below.
   static RadixNode* make(RadixPlace place, std::uint64_t front);
   static void free(RadixNode* node);

   RadixPlace place() const { return place_; }
   bool has(unsigned digit) const { return (used_ >> digit & 1U) != 0; }
   /// The child of a digit that has one.
   RadixChild& child(unsigned digit) { return slots()[room_ == mostRoom ? digit : rankOf(digit)]; }
   /// The first digit with a child, from the given one on, which may be noDigit; noDigit if there is none.
   unsigned from(unsigned digit) const {
      auto const left = digit == noDigit ? 0 : used_ >> digit << digit;
      return static_cast<unsigned>(std::countr_zero(left));
   }
   /// Whether a key with that first word, and without a child here, parts from the others here and not before. False if
   /// the first word is not enough to tell.
   bool partsHere(std::uint64_t first) const {
      return place_ < 64 && (place_ == 0 || (first ^ front_) >> (64 - bitsBefore()) == 0);
   }

   /// Puts a child where there is none for the digit. Throws std::bad_alloc; nothing has changed then.
   static RadixNode* insert(RadixNode* node, unsigned digit, RadixChild child);
   /// Takes the digit's child away. The result stands in for the node: itself, or its last child when no other is left.
   static RadixChild erase(RadixNode* node, unsigned digit);

 private:
   static constexpr unsigned mostRoom = 64;

   RadixNode(RadixPlace place, std::uint64_t front, unsigned room)
      : front_(front), place_(place), room_(static_cast<std::uint8_t>(room)) {}
   static RadixNode* make(RadixPlace place, std::uint64_t front, unsigned room);
   static RadixNode* resized(RadixNode* node, unsigned room);

   RadixChild* slots() { return reinterpret_cast<RadixChild*>(this + 1); }
   unsigned size() const { return static_cast<unsigned>(std::popcount(used_)); }
   unsigned rankOf(unsigned digit) const {
      return static_cast<unsigned>(std::popcount(used_ & ((std::uint64_t{1} << digit) - 1)));
   }
   unsigned bitsBefore() const { return place_ == 58 ? 60 : place_; }  // in the digits before

   std::uint64_t used_ = 0;  // a bit for each digit that has a child
   std::uint64_t front_;
   RadixPlace place_;
   std::uint8_t room_;  // slots after this: with the most there is one for each digit
};

}  // namespace velm::embedded
