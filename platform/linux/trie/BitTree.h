#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velm::trie {

/// A set of small numbers that finds its least and its greatest at once: each level has a bit for each word below it
/// that is not zero.
class BitTree {
 public:
   explicit BitTree(std::size_t numbers) {
      for (auto& level : levels_) level.resize(numbers = numbers / 64 + 1);
   }

   std::size_t size() const { return size_; }
   bool empty() const { return size_ == 0; }
   bool contains(std::size_t number) const { return (levels_[0][number / 64] >> number % 64 & 1U) != 0; }

   /// A number that is not there.
   void insert(std::size_t number) {
      ++size_;
      for (auto& level : levels_) {
         auto& word = level[number / 64];
         bool const marked = word != 0;
         word |= std::uint64_t{1} << number % 64;
         if (marked) return;
         number /= 64;
      }
   }
   /// A number that is there.
   void erase(std::size_t number) {
      --size_;
      for (auto& level : levels_) {
         auto& word = level[number / 64];
         word &= ~(std::uint64_t{1} << number % 64);
         if (word != 0) return;
         number /= 64;
      }
   }
   /// Of a set that is not empty.
   std::size_t least() const {
      return descend([](std::uint64_t word) { return std::countr_zero(word); });
   }
   std::size_t greatest() const {
      return descend([](std::uint64_t word) { return 63 - std::countl_zero(word); });
   }

 private:
   template <class Choose>
   std::size_t descend(Choose choose) const {
      std::size_t number = 0;
      for (auto level = levels_.rbegin(); level != levels_.rend(); ++level) {
         number = number * 64 + static_cast<std::size_t>(choose((*level)[number]));
      }
      return number;
   }

   std::array<std::vector<std::uint64_t>, 5> levels_;  // the finest first; the last is one word, up to 2^30 numbers
   std::size_t size_ = 0;
};

}  // namespace velm::trie
