#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/trie/Trie.h"

namespace velm::trie {

/// What the agent's memory of tries is, without a kernel: plain, and shared with the readers that the test has.
class PlainMemory {
 public:
   PlainMemory(unsigned tables, std::size_t nodes, machine::GracePeriods::Wait wait)
      : words_(Memory::bytesFor(tables, nodes) / 8),
        periods_(std::move(wait)),
        memory_(std::as_writable_bytes(std::span(words_)), tables, periods_) {}

   Memory& memory() { return memory_; }
   /// Reserves as the agent does, waiting for what was freed. False if the memory is full.
   bool reserve(std::size_t changes) {
      while (!memory_.reserve(changes)) {
         auto const period = memory_.pending();
         if (!period) return false;
         periods_.await(*period);
      }
      return true;
   }
   /// Sets as the agent does, with room for a new prefix. False if the memory is full.
   bool set(Trie& trie, Prefix const& prefix, std::uint32_t leaf) {
      bool const isNew = trie.at(prefix) == 0;
      if (isNew && !reserve(1)) return false;
      trie.set(prefix, leaf);
      if (isNew) memory_.giveBack(1);
      return true;
   }

 private:
   std::vector<std::uint64_t> words_;
   machine::GracePeriods periods_;
   Memory memory_;
};

inline Bits maskOf(unsigned length) { return length == 0 ? 0 : ~Bits{0} << (128 - length); }

/// Routes as one would look them up without a trie.
class Model {
 public:
   void set(Prefix const& prefix, std::uint32_t leaf) { routes_[{prefix.length, prefix.bits}] = leaf; }
   void del(Prefix const& prefix) { routes_.erase({prefix.length, prefix.bits}); }
   std::uint32_t at(Prefix const& prefix) const {
      auto const found = routes_.find({prefix.length, prefix.bits});
      return found == routes_.end() ? 0 : found->second;
   }
   std::uint32_t find(Bits address) const {
      for (unsigned length = 129; length-- > 0;) {
         auto const found = routes_.find({length, address & maskOf(length)});
         if (found != routes_.end()) return found->second;
      }
      return 0;
   }
   std::map<std::pair<unsigned, Bits>, std::uint32_t> const& routes() const { return routes_; }

 private:
   std::map<std::pair<unsigned, Bits>, std::uint32_t> routes_;
};

/// Prefixes that lie in, beside and above each other, of all lengths of a family of so many bits.
class NestedPrefixes {
 public:
   NestedPrefixes(unsigned family, unsigned seed) : family_(family), random_(seed) {
      for (auto& base : bases_) base = any();
   }
   std::mt19937_64& random() { return random_; }
   Bits any() { return bitsOf(random_(), random_()) & maskOf(family_); }
   Prefix next() {
      // Close to what was there before, so that ways part everywhere; now and then elsewhere.
      auto& base = bases_[random_() % bases_.size()];
      if (random_() % 16 == 0) base ^= Bits{1} << (128 - family_ + random_() % family_);
      auto const length = static_cast<unsigned>(random_() % (family_ + 1));
      return {base & maskOf(length), length};
   }

 private:
   unsigned family_;
   std::mt19937_64 random_;
   std::array<Bits, 16> bases_{};
};

}  // namespace velm::trie
