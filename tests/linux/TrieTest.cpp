#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <random>
#include <vector>

#include "tests/linux/TrieModel.h"

namespace velm::trie {
namespace {

using ::testing::Test;
using ::testing::Values;
using ::testing::WithParamInterface;

std::uint32_t leafOf(std::uint64_t number) { return leaf_word(LEAF_GROUP, static_cast<std::uint32_t>(number)); }

/// Tries in one memory of so many bytes of nodes, with nobody reading beside.
class TrieTest : public Test {
 protected:
   void build(std::size_t bytes) {
      plain_ = std::make_unique<PlainMemory>(2, bytes, [] {});
   }
   PlainMemory& plain() { return *plain_; }
   Memory& memory() { return plain_->memory(); }

   /// For how many changes there is room, when all that was freed can be used again.
   std::size_t room() {
      plain().reserve(memory().fill().size);
      auto changes = (memory().fill().size - memory().fill().used) / 512;
      while (!plain().reserve(changes)) --changes;
      memory().giveBack(changes);
      return changes;
   }

 private:
   std::unique_ptr<PlainMemory> plain_;
};

struct Vrf {
   Vrf(Memory& memory, Trie::Form form, unsigned family, unsigned seed)
      : trie(memory, root, form), prefixes(family, seed), family(family) {}

   /// Where the answer may change: the first and the last address of a prefix and those beside them.
   void expectSame(Prefix const& around) const {
      ASSERT_EQ(trie.at(around), model.at(around));
      auto const one = Bits{1} << (128 - family);
      auto const last = around.bits | (~maskOf(around.length) & maskOf(family));
      for (auto const address : {around.bits, last, around.bits - one, last + one, (around.bits + last) / 2}) {
         ASSERT_EQ(trie.find(address & maskOf(family)), model.find(address & maskOf(family)));
      }
   }

   void expectAllSame() const {
      for (auto const& [key, leaf] : model.routes()) expectSame({key.second, key.first});
   }

   trie_root root{};
   Trie trie;
   Model model;
   NestedPrefixes prefixes;
   unsigned family;
};

TEST_F(TrieTest, EachAnswerIsThatOfTheLongestPrefixAfterAnySetsAndDels) {
   build(std::size_t{4} << 20);
   std::vector<std::unique_ptr<Vrf>> vrfs;
   vrfs.push_back(std::make_unique<Vrf>(memory(), Trie::Form::large, 32, 1));
   vrfs.push_back(std::make_unique<Vrf>(memory(), Trie::Form::large, 128, 2));
   vrfs.push_back(std::make_unique<Vrf>(memory(), Trie::Form::small, 32, 3));
   vrfs.push_back(std::make_unique<Vrf>(memory(), Trie::Form::small, 128, 4));
   vrfs.push_back(std::make_unique<Vrf>(memory(), Trie::Form::small, 128, 4));
   std::mt19937_64 random(5);
   for (int i = 0; i < 60'000; ++i) {
      auto& vrf = *vrfs[random() % vrfs.size()];
      auto const prefix = vrf.prefixes.next();
      bool const growing = i / 5'000 % 2 == 0;
      if (random() % 8 < (growing ? 6 : 2)) {
         auto const leaf = leafOf(random() % 1000 + 1);
         ASSERT_TRUE(plain().set(vrf.trie, prefix, leaf));
         vrf.model.set(prefix, leaf);
      } else {
         vrf.trie.del(prefix);
         vrf.model.del(prefix);
      }
      vrf.expectSame(prefix);
      if (HasFatalFailure()) return;
   }
   for (auto const& vrf : vrfs) {
      vrf->expectAllSame();
      if (HasFatalFailure()) return;
      if (vrf == vrfs.front()) {
         vrf->trie.clear();
         continue;
      }
      auto const routes = vrf->model.routes();
      for (auto const& [key, leaf] : routes) {
         vrf->trie.del({key.second, key.first});
         vrf->model.del({key.second, key.first});
         vrf->expectSame({key.second, key.first});
      }
      if (HasFatalFailure()) return;
   }
   EXPECT_EQ(room(), memory().fill().size / 512) << "something was lost or is still linked";
   EXPECT_EQ(memory().fill().used, 0U);
}

struct Row {
   char const* name;
   Trie::Form form;
   unsigned length;  // of what fills the memory
   unsigned family;
};
void PrintTo(Row const& row, std::ostream* out) { *out << row.name; }

class FullTrieTest : public TrieTest, public WithParamInterface<Row> {};

TEST_P(FullTrieTest, ASetIsRefusedAndChangesNothingWhileDelsAndReplacementsGoOn) {
   build(64 << 10);
   Vrf vrf(memory(), GetParam().form, GetParam().family, 7);
   auto& random = vrf.prefixes.random();
   auto any = [&] { return Prefix{vrf.prefixes.any() & maskOf(GetParam().length), GetParam().length}; };
   auto set = [&](Prefix const& prefix) {
      auto const leaf = leafOf(random() % 1000 + 1);
      if (!plain().set(vrf.trie, prefix, leaf)) return false;
      vrf.model.set(prefix, leaf);
      return true;
   };
   for (int round = 0; round < 3; ++round) {
      for (int refused = 0; refused < 100;) {
         auto const prefix = any();
         if (!set(prefix)) ++refused;
         vrf.expectSame(prefix);
      }
      ASSERT_GT(vrf.model.routes().size(), 64U * 1024 / 160);
      vrf.expectAllSame();
      auto const routes = vrf.model.routes();
      for (auto const& [key, leaf] : routes) {
         Prefix const prefix{key.second, key.first};
         if (random() % 2 == 0) {
            ASSERT_TRUE(set(prefix)) << "a replaced leaf needs no room";
         } else {
            vrf.trie.del(prefix);
            vrf.model.del(prefix);
         }
         vrf.expectSame(prefix);
      }
      vrf.expectAllSame();
      if (HasFatalFailure()) return;
   }
   auto const routes = vrf.model.routes();
   for (auto const& [key, leaf] : routes) {
      if (random() % 8 == 0) continue;
      vrf.trie.del({key.second, key.first});
      vrf.model.del({key.second, key.first});
   }
   EXPECT_GT(room() * 512, (memory().fill().size - memory().fill().used) / 2) << "what is free is in pieces";
   vrf.expectAllSame();
   for (auto const& [key, leaf] : routes) vrf.trie.del({key.second, key.first});
   EXPECT_EQ(room(), memory().fill().size / 512) << "what could not be made smaller was forgotten";
}

INSTANTIATE_TEST_SUITE_P(Lengths, FullTrieTest,
                         Values(Row{"ipv4", Trie::Form::small, 32, 32}, Row{"ipv4networks", Trie::Form::small, 24, 32},
                                Row{"ipv4apart", Trie::Form::large, 32, 32}, Row{"ipv6", Trie::Form::small, 128, 128},
                                Row{"ipv6networks", Trie::Form::small, 48, 128}),
                         [](auto const& info) { return info.param.name; });

TEST_F(TrieTest, PromisesAddUpAndAreKeptWhenEverythingElseIsFull) {
   build(512 << 10);
   Vrf vrf(memory(), Trie::Form::large, 32, 9);
   auto networkOf = [](std::uint64_t number, std::uint64_t last) {
      return Prefix{bitsOf(number << 46 | last << 40, 0), 24};
   };
   // So many branches that the next route makes wide, and a way of its own needs besides.
   constexpr std::size_t changes = 100;
   for (std::uint64_t i = 0; i < changes; ++i) {
      for (std::uint64_t network = 0; network < 7; ++network) {
         ASSERT_TRUE(plain().set(vrf.trie, networkOf(i, 2 * network), leafOf(1)));
      }
   }
   // And as many that a deletion makes a skip, if it may.
   constexpr std::uint64_t joined = 2000;
   for (std::uint64_t i = 0; i < joined; ++i) {
      ASSERT_TRUE(plain().set(vrf.trie, networkOf(changes + i, 0), leafOf(1)));
      ASSERT_TRUE(plain().set(vrf.trie, networkOf(changes + i, 2), leafOf(1)));
   }
   auto const most = room();
   ASSERT_GT(most, changes);
   ASSERT_TRUE(memory().reserve(changes / 2));
   ASSERT_TRUE(memory().reserve(changes - changes / 2));
   EXPECT_FALSE(memory().reserve(most - changes + 1));
   EXPECT_TRUE(memory().reserve(most - changes));
   memory().giveBack(most - changes);
   std::uint64_t filling = changes + joined;
   while (plain().set(vrf.trie, {bitsOf(filling << 46, 0), 32}, leafOf(2))) ++filling;
   EXPECT_FALSE(memory().reserve(1));
   for (std::uint64_t i = 0; i < joined; ++i) vrf.trie.del(networkOf(changes + i, 0));
   for (std::uint64_t i = 0; i < changes; ++i) {
      auto prefix = networkOf(i, 40 + i % 20);
      prefix.length = 30;
      ASSERT_NO_THROW(vrf.trie.set(prefix, leafOf(3))) << i;
      ASSERT_EQ(vrf.trie.find(prefix.bits), leafOf(3));
   }
   EXPECT_GT(memory().fill().promised, 0U);
   memory().giveBack(changes);
   EXPECT_EQ(memory().fill().promised, 0U);
   EXPECT_TRUE(plain().reserve(1));
}

TEST_F(TrieTest, ChurnDoesNotEatTheMemory) {
   constexpr std::size_t routes = 20'000;
   build(std::size_t{768} << 10);
   Vrf vrf4(memory(), Trie::Form::large, 32, 11);
   Vrf vrf6(memory(), Trie::Form::large, 128, 12);
   std::mt19937_64 random(13);
   // Now mostly short and dense, now long and sparse: memory freed by one kind is what the other needs.
   auto any = [&](Vrf& vrf, bool dense) {
      auto const length = vrf.family == 32 ? 20 + random() % (dense ? 5 : 13) : 32 + random() % (dense ? 17 : 97);
      auto const bits = dense ? bitsOf(random() % 64 << 50 | random() >> 20, 0) : vrf.prefixes.any();
      return Prefix{bits & maskOf(static_cast<unsigned>(length)), static_cast<unsigned>(length)};
   };
   std::vector<std::pair<Vrf*, Prefix>> held;
   for (int i = 0; i < 600'000; ++i) {
      auto& vrf = random() % 2 == 0 ? vrf4 : vrf6;
      auto const prefix = any(vrf, i / 50'000 % 2 == 0);
      auto const leaf = leafOf(random() % 1000 + 1);
      ASSERT_TRUE(plain().set(vrf.trie, prefix, leaf)) << i;
      vrf.model.set(prefix, leaf);
      held.emplace_back(&vrf, prefix);
      if (held.size() < routes) continue;
      std::swap(held[random() % held.size()], held.back());
      auto const& [other, gone] = held.back();
      other->trie.del(gone);
      other->model.del(gone);
      held.pop_back();
   }
   auto const most = room();
   auto const fill = memory().fill();
   EXPECT_GT(most * 512, (fill.size - fill.used) * 3 / 4) << "what is free is in pieces";

   for (auto* vrf : {&vrf4, &vrf6}) {
      vrf->expectAllSame();
      vrf->trie.clear();
   }
   for (auto* vrf : {&vrf4, &vrf6}) {
      for (auto const& [key, leaf] : vrf->model.routes()) {
         ASSERT_TRUE(plain().set(vrf->trie, {key.second, key.first}, leaf));
      }
   }
   room();
   EXPECT_LT(fill.used, memory().fill().used * 5 / 4) << "the same routes took less when they were set anew";
}

}  // namespace
}  // namespace velm::trie
