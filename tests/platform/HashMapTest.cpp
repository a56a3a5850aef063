#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/qor/HashMap2018.h"
#include "platform/qor/HashMap2018Iterator.h"

namespace Qor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A key with no order, and as few hashes as the tests want.
struct Key {
   int number = 0;
   std::uint32_t hash() const { return static_cast<std::uint32_t>(number) / perHash; }
   bool operator==(Key const&) const = default;
   static inline std::uint32_t perHash = 1;
};

using Map = HashMap2018<HashMap2018Node<Key, std::string>>;
using SeededMap = HashMap2018<HashMap2018NodeExternKey<Key, std::unique_ptr<int>, 4197489981>>;

class HashMapTest : public ::testing::TestWithParam<std::uint32_t> {
 protected:
   HashMapTest() { Key::perHash = GetParam(); }
   ~HashMapTest() override { Key::perHash = 1; }

   void fill(int count) {
      for (int i = 0; i < count; ++i) map.newMemberG(Key{i}, std::to_string(i));
   }
   // With members added in ascending order the walk is ascending, whatever the number of keys to a hash.
   std::vector<int> walk() const {
      std::vector<int> keys;
      for (HashMap2018UnsafeIteratorConstGeneric it(map); it; it.advance()) keys.push_back(it.currNode().key().number);
      return keys;
   }

   Map map;
};
INSTANTIATE_TEST_SUITE_P(KeysToAHash, HashMapTest, ::testing::Values(1, 3, 1000));

TEST_P(HashMapTest, MembersAreFoundChangedAndRemoved) {
   fill(10);
   auto const filled = map.version();
   EXPECT_EQ(map.members(), 10U);
   ASSERT_NE(map.lookupNodeG(Key{4}), nullptr);
   auto* const stable = map.lookupNodeG(Key{4});
   stable->value() = "four";
   EXPECT_EQ(map.version(), filled);
   std::pair<Key, std::string> removed;
   EXPECT_TRUE(map.deleteMemberG(Key{5}));
   EXPECT_EQ(stable, map.lookupNodeG(Key{4}));
   EXPECT_TRUE(map.deleteMemberG(Key{4}, &removed));
   EXPECT_EQ(removed.first.number, 4);
   EXPECT_EQ(removed.second, "four");
   EXPECT_NE(map.version(), filled);
   auto const before = map.version();
   EXPECT_FALSE(map.deleteMemberG(Key{4}, &removed));
   EXPECT_EQ(map.version(), before);
   EXPECT_EQ(std::as_const(map).lookupNodeG(Key{4}), nullptr);
   EXPECT_THAT(walk(), ElementsAre(0, 1, 2, 3, 6, 7, 8, 9));
   map._memberDelAll();
   EXPECT_EQ(map.members(), 0U);
}

TEST_P(HashMapTest, RangesRunInTheOrderOfTheWalk) {
   fill(10);
   map.memberDelRangeG(Key{3}, Key{5});
   EXPECT_THAT(walk(), ElementsAre(0, 1, 2, 5, 6, 7, 8, 9));
   map.memberDelRangeG(StartOfCollection(), Key{1});
   EXPECT_THAT(walk(), ElementsAre(1, 2, 5, 6, 7, 8, 9));
   map.memberDelRangeG(Key{8});
   map.memberDelRangeG(Key{7}, Key{7});
   auto const before = map.version();
   map.memberDelRangeG(Key{7}, Key{2});  // the wrong way round
   EXPECT_EQ(map.version(), before);
   EXPECT_THAT(walk(), ElementsAre(1, 2, 5, 6, 7));
   map.memberDelRangeG(StartOfCollection());
   EXPECT_THAT(walk(), IsEmpty());

   // A key that is gone stands before the others of its hash.
   fill(10);
   map.deleteMemberG(Key{5});
   map.memberDelRangeG(StartOfCollection(), Key{5});
   auto const first = GetParam() == 1 ? 6 : GetParam() == 3 ? 3 : 0;
   EXPECT_EQ(walk().front(), first);
   EXPECT_EQ(HashMap2018UnsafeIteratorConstGeneric(map, Key{5}).currNode().key(), Key{first});
}

TEST_P(HashMapTest, AStaleTolerantWalkSurvivesAnyChange) {
   fill(12);
   std::vector<int> met;
   for (HashMap2018IteratorGeneric it(map); it; it.advance()) {
      auto const key = it.currNodeMaybeStale();
      met.push_back(key.number);
      ASSERT_EQ(it.currNodeNonStale().key(), key);
      if (key.number == 2) map.deleteMemberG(Key{3});     // the next one
      if (key.number == 4) map.deleteMemberG(key);        // the one under the iterator
      if (key.number == 6) map.newMemberG(Key{100}, "");  // ahead
      if (key.number == 8) {
         map._memberDelAll();
         map.newMemberG(Key{0}, "");  // behind the walk, but for its age
      }
      EXPECT_EQ(it.currNodeMaybeStale(), key);
   }
   EXPECT_EQ(met.back(), GetParam() == 1000 ? 0 : 8) << "of the same hash, and now the youngest";
   met.resize(8);
   EXPECT_THAT(met, ElementsAre(0, 1, 2, 4, 5, 6, 7, 8));
}

TEST(HashMapKindsTest, SeedsSetsAndValuesThatOnlyMove) {
   SeededMap map;
   EXPECT_NE(SeededMap::Node::hash(Key{1}), Map::Node::hash(Key{1}));
   map.newMemberG(Key{1}, std::make_unique<int>(7));
   std::pair<Key, std::unique_ptr<int>> removed;
   EXPECT_TRUE(map.deleteMemberG(Key{1}, &removed));
   EXPECT_EQ(*removed.second, 7);
   HSet<Key> set;
   set.newMemberG(Key{1});
   EXPECT_TRUE(set.lookupNodeG(Key{1}) != nullptr && set.deleteMemberG(Key{1}) && !HashMap2018IteratorGeneric(set));
}

TEST(HashMapDeathTest, MisuseEndsTheProcess) {
   Map map;
   map.newMemberG(Key{1}, "");
   EXPECT_DEATH(map.newMemberG(Key{1}, ""), "inserted");
   HashMap2018UnsafeIteratorConstGeneric it(map);
   map.newMemberG(Key{2}, "");
   auto const text = "version_ == hashMap_->version\\(\\)";
   EXPECT_DEATH(it.advance(), text);
   EXPECT_DEATH(it.currNode(), text);
   EXPECT_DEATH(static_cast<bool>(it), text);
   HashMap2018IteratorGeneric const tolerant(map);
   map._memberDelAll();
   EXPECT_DEATH(tolerant.currNodeNonStale(), "the member under the iterator is gone");
}

}  // namespace
}  // namespace Qor
