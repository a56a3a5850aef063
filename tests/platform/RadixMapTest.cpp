#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "platform/switch/MplsRowKey.h"
#include "platform/switch/RadixMap.h"
#include "platform/switch/Table.h"

namespace velm::embedded {

using Words = std::array<std::uint64_t, 3>;

template <>
struct RadixWords<Words> {
   static std::uint64_t word(Words const& key, std::size_t index) { return index < key.size() ? key[index] : 0; }
};

namespace {

/// A map and what it should be, which do the same.
class Twins {
 public:
   explicit Twins(unsigned seed) : random_(seed) {}

   void step() {
      auto const key = someKey();
      map_.prefetch(std::array{key, someKey()});
      switch (random_() % 8) {
         case 0:
         case 1:
         case 2: insert(key); break;
         case 3: erase(key); break;
         case 4:
            if (!model_.empty()) erase(near(key)->first);
            break;
         case 5: expectSame(model_.find(key), map_.find(key)); break;
         case 6: expectSame(model_.lower_bound(key), map_.lower_bound(key)); break;
         default: expectSame(model_.upper_bound(key), map_.upper_bound(key)); break;
      }
      ASSERT_EQ(map_.size(), model_.size());
   }

   void expectSameWalk() {
      auto it = map_.begin();
      for (auto const& [key, entry] : model_) {
         ASSERT_NE(it, map_.end());
         ASSERT_EQ(&*it, entry);  // it has never moved
         ASSERT_EQ(it->first, key);
         ASSERT_EQ(it->second, key[0] + key[2]);
         ++it;
      }
      ASSERT_EQ(it, map_.end());
   }

   void eraseThoseWithout(unsigned bits) {
      for (auto it = map_.begin(); it != map_.end();) {
         auto const key = it->first;
         if ((key[2] & bits) == 0) {
            erase(key);
            it = map_.upper_bound(key);
         } else {
            ++it;
         }
      }
   }

 private:
   using Map = RadixMap<Words, std::uint64_t>;
   using Model = std::map<Words, Map::value_type*>;

   // One that differs from a held one in few bits, wherever they lie, or in none.
   Words someKey() {
      Words key{};
      if (model_.empty() || random_() % 16 == 0) {
         for (auto& word : key) word = random_() % 2 == 0 ? random_() : 0;
      } else {
         key = near({random_(), random_(), random_()})->first;
      }
      for (auto bits = random_() % 3; bits > 0; --bits) {
         key[random_() % 3] ^= std::uint64_t{1} << random_() % (random_() % 2 == 0 ? 64 : 8);
      }
      return key;
   }
   Model::iterator near(Words const& key) {
      auto const it = model_.lower_bound(key);
      return it == model_.end() ? model_.begin() : it;
   }

   void insert(Words const& key) {
      auto const [it, fresh] = map_.try_emplace(key, key[0] + key[2]);
      ASSERT_EQ(fresh, model_.try_emplace(key, &*it).second);
      expectSame(model_.find(key), it);
   }
   void erase(Words key) { ASSERT_EQ(map_.erase(key), model_.erase(key) == 1); }
   void expectSame(Model::iterator expected, Map::iterator it) {
      if (expected == model_.end()) {
         ASSERT_EQ(it, map_.end());
      } else {
         ASSERT_NE(it, map_.end());
         ASSERT_EQ(&*it, expected->second);
         auto const next = std::next(expected);
         ASSERT_EQ(++it == map_.end() ? nullptr : &*it, next == model_.end() ? nullptr : next->second);
      }
   }

   std::mt19937_64 random_;
   Map map_;
   Model model_;
};

TEST(RadixMapTest, DoesWhatAMapDoes) {
   for (unsigned seed = 1; seed <= 20; ++seed) {
      Twins twins(seed);
      for (int i = 0; i < 5000 && !::testing::Test::HasFailure(); ++i) {
         twins.step();
         if (i % 500 == 0) twins.expectSameWalk();
      }
      for (unsigned bits : {0x81U, 0x80U, 0U}) {
         twins.eraseThoseWithout(bits);
         twins.expectSameWalk();
      }
      ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
   }
}

// Walks a table of the keys in the order of their words, which must be that of the keys.
template <class Key>
void expectOrdered(std::vector<Key> const& keys) {
   CallLedger ledger;
   Inside const inside(ledger);
   Table<Key, int> table;
   for (auto const& key : keys) table.set(inside, key, 0);
   std::set<Key> const ordered(keys.begin(), keys.end());
   auto expected = ordered.begin();
   table.each([&](Key const& key, int) { ASSERT_EQ(key, *expected++); });
   EXPECT_EQ(expected, ordered.end());
}

TEST(RadixKeysTest, WordsOrderKeysAsTheyAre) {
   std::mt19937 random(1);
   std::vector<ip_prefix_t> prefixes{ip_prefix_t()};
   std::vector<ip_route_key_t> routes{ip_route_key_t()};
   std::vector<mpls_label_t> labels{mpls_label_t(0), mpls_label_t(mpls_label_t::max)};
   for (int i = 0; i < 5000; ++i) {
      std::array<unsigned char, 16> bytes{};
      for (auto& byte : bytes) byte = random() % 4 == 0 ? static_cast<unsigned char>(random()) : 0;
      auto const af = random() % 2 == 0 ? af_t::ipv4 : af_t::ipv6;
      prefixes.emplace_back(ip_addr_t(af, bytes.data()), static_cast<unsigned char>(random() % 129));
      auto& route = routes.emplace_back(prefixes[random() % prefixes.size()]);
      route.preference_is(static_cast<unsigned char>(random()));
      labels.emplace_back(random() % (mpls_label_t::max + 1));
   }
   expectOrdered(prefixes);
   expectOrdered(routes);
   expectOrdered(labels);
}

TEST(RadixKeysTest, RowKeysOrderAsTheRoutesKeys) {
   std::mt19937 random(1);
   CallLedger ledger;
   Inside const inside(ledger);
   std::set<mpls_route_key_t> keys;
   Table<MplsRowKey, int> table;
   for (int i = 0; i < 3000; ++i) {
      std::vector<mpls_label_t> labels(random() % 7);
      for (auto& label : labels) label = mpls_label_t(std::array{0U, 1U, 16U, mpls_label_t::max}[random() % 4]);
      mpls_route_key_t const key(labels, static_cast<unsigned char>(random() % 4 * 85));
      keys.insert(key);
      table.set(inside, MplsRowKey(key), 0);
   }
   auto expected = keys.begin();
   table.each([&](MplsRowKey const& key, int) { ASSERT_EQ(key.key(), *expected++); });
   EXPECT_EQ(expected, keys.end());
}

}  // namespace
}  // namespace velm::embedded
