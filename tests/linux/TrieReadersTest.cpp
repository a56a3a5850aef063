#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/linux/TrieModel.h"

namespace velm::trie {
namespace {

constexpr std::size_t readerCount = 2;

/// Readers that tell when they are reading, so that a grace period is the time until each was seen not to.
class Readers {
 public:
   template <class Fn>
   void read(std::size_t reader, Fn&& fn) {
      steps_[reader].fetch_add(1);  // odd while it reads
      fn();
      steps_[reader].fetch_add(1);
   }
   void awaitAll() const {
      for (auto const& step : steps_) {
         auto const then = step.load();
         while (then % 2 == 1 && step.load() == then) std::this_thread::yield();
      }
   }

 private:
   std::array<std::atomic<std::uint64_t>, readerCount> steps_{};
};

/// Prefixes whose leaves say whose they are, so that a reader can judge an answer without knowing what holds: it must
/// be of a prefix that the address has, and of none shorter than one that stays throughout.
class Judge {
 public:
   explicit Judge(unsigned family) : family_(family) {
      NestedPrefixes nested(family, 17);
      for (std::size_t i = 0; i < 600; ++i) {
         auto const prefix = nested.next();
         auto const twin = [&](Prefix const& other) {
            return other.length == prefix.length && other.bits == prefix.bits;
         };
         if (prefix.length > 9 && std::ranges::none_of(prefixes_, twin)) prefixes_.push_back(prefix);
      }
      for (auto const& prefix : prefixes_) {
         auto const last = prefix.bits | (~maskOf(prefix.length) & maskOf(family));
         for (auto const address : {prefix.bits, last}) addresses_.push_back(address);
      }
   }

   std::vector<Prefix> const& prefixes() const { return prefixes_; }
   std::vector<Bits> const& addresses() const { return addresses_; }
   static bool stays(std::size_t number) { return number % 5 == 0; }
   static std::uint32_t leafOf(std::size_t number, std::uint64_t version) {
      return leaf_word(version % 2 == 0 ? LEAF_GROUP : LEAF_EXIT, static_cast<std::uint32_t>(number) + 1);
   }

   /// What is wrong with an answer; empty if it is right.
   std::string fault(Bits address, std::uint32_t leaf) const {
      unsigned least = 0;
      for (std::size_t i = 0; i < prefixes_.size(); ++i) {
         if (stays(i) && has(i, address)) least = std::max(least, prefixes_[i].length);
      }
      if (leaf == 0) return least == 0 ? "" : "nothing was found";
      if (leaf_kind_of(leaf) != LEAF_GROUP && leaf_kind_of(leaf) != LEAF_EXIT) return "not a leaf";
      auto const number = leaf_index_of(leaf) - 1;
      if (number >= prefixes_.size()) return "nobody's leaf";
      if (!has(number, address)) return "the leaf of another network";
      return prefixes_[number].length < least ? "the leaf of too short a prefix" : "";
   }

 private:
   bool has(std::size_t number, Bits address) const {
      return ((prefixes_[number].bits ^ address) & maskOf(prefixes_[number].length)) == 0;
   }

   unsigned family_;
   std::vector<Prefix> prefixes_;
   std::vector<Bits> addresses_;
};

struct Row {
   char const* name;
   Trie::Form form;
   unsigned family;
};
void PrintTo(Row const& row, std::ostream* out) { *out << row.name; }

class TrieReadersTest : public ::testing::TestWithParam<Row> {};

TEST_P(TrieReadersTest, SeeWhatHeldBeforeAChangeOrWhatHoldsAfterIt) {
   Judge const judge(GetParam().family);
   Readers readers;
   // So small that the changes use all of it many times.
   PlainMemory plain(1, 48 << 10, [&] { readers.awaitAll(); });
   trie_root root{};
   Trie trie(plain.memory(), root, GetParam().form);
   auto const& prefixes = judge.prefixes();
   for (std::size_t i = 0; i < prefixes.size(); ++i) {
      if (Judge::stays(i)) plain.set(trie, prefixes[i], Judge::leafOf(i, 0));
   }

   std::atomic<bool> over = false;
   std::array<std::string, readerCount> faults;
   std::vector<std::jthread> threads;
   for (std::size_t reader = 0; reader < readerCount; ++reader) {
      threads.emplace_back([&, reader] {
         std::mt19937_64 random(reader);
         while (!over) {
            auto const address = judge.addresses()[random() % judge.addresses().size()];
            std::uint32_t leaf = 0;
            readers.read(reader, [&] { leaf = trie.find(address); });
            if (auto fault = judge.fault(address, leaf); !fault.empty()) faults[reader] = fault;
         }
      });
   }
   std::mt19937_64 random(19);
   for (int i = 0; i < 100'000; ++i) {
      auto const number = random() % prefixes.size();
      if (!Judge::stays(number) && random() % 2 == 0) {
         trie.del(prefixes[number]);
         EXPECT_NE(leaf_index_of(trie.find(prefixes[number].bits)), number + 1) << "seen after it was deleted";
      } else {
         plain.set(trie, prefixes[number], Judge::leafOf(number, random()));
      }
   }
   over = true;
   threads.clear();
   for (auto const& fault : faults) EXPECT_EQ(fault, "");
}

INSTANTIATE_TEST_SUITE_P(Forms, TrieReadersTest,
                         ::testing::Values(Row{"large4", Trie::Form::large, 32}, Row{"small4", Trie::Form::small, 32},
                                           Row{"large6", Trie::Form::large, 128},
                                           Row{"small6", Trie::Form::small, 128}),
                         [](auto const& info) { return info.param.name; });

}  // namespace
}  // namespace velm::trie
