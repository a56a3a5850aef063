#include <gmock/gmock.h>

#include <string>

#include "platform/switch/IpRouteMgr.h"
#include "platform/switch/Iterators.h"
#include "platform/switch/Table.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;

using Numbers = Table<int, std::string>;

std::vector<int> keysOf(Numbers const& table) {
   std::vector<int> keys;
   table.each([&](int key, std::string const&) { keys.push_back(key); });
   return keys;
}

class TableTest : public ::testing::Test {
 protected:
   CallLedger ledger;
   Inside const inside{ledger};
};

TEST_F(TableTest, ADeletedRowIsNotFoundAgainThoughItWasTheLastLookedUp) {
   Numbers table;
   table.set(inside, 1, "one");
   ASSERT_NE(table.find(1), nullptr);
   EXPECT_TRUE(table.del(inside, 1));
   EXPECT_EQ(table.find(1), nullptr);
   EXPECT_FALSE(table.amend(inside, 1, [](std::string&) {}));
   EXPECT_FALSE(table.del(inside, 1));
   table.set(inside, 1, "again");
   EXPECT_EQ(*table.find(1), "again");
}

TEST_F(TableTest, ASetClearsTheMarkAndAPartialChangeKeepsIt) {
   Numbers table;
   for (int key = 1; key <= 4; ++key) table.set(inside, key, "old");
   table.markAll(inside);
   table.set(inside, 2, "old");
   table.amend(inside, 3, [](std::string& value) { value = "changed"; });
   table.set(inside, 5, "new");
   table.purge(inside);
   EXPECT_THAT(keysOf(table), ElementsAre(2, 5));
   table.markAll(inside);
   table.mark(inside, [](int, std::string const&) { return false; });  // a second marking marks anew
   table.purge(inside);
   EXPECT_THAT(keysOf(table), ElementsAre(2, 5));
}

TEST_F(TableTest, AnIteratorSurvivesAnyChangeBetweenTwoSteps) {
   Numbers table;
   for (int key = 1; key <= 6; ++key) table.set(inside, key, std::to_string(key));
   auto it = makeTableIter(table, [](int const& key, std::string const&) { return key; });
   EXPECT_EQ(*it, 1);
   table.del(inside, 1);  // the element itself: the iterator has its copy
   EXPECT_EQ(*it, 1);
   table.del(inside, 2);
   auto copy = it;
   ++it;
   EXPECT_EQ(*it, 3);
   ++copy;
   EXPECT_EQ(*copy, 3);
   table.set(inside, 0, "behind");
   table.set(inside, 7, "ahead");
   table.del(inside, 4);
   std::vector<int> rest;
   for (++it; it; ++it) rest.push_back(*it);
   EXPECT_THAT(rest, ElementsAre(5, 6, 7));
   for (int key : keysOf(table)) table.del(inside, key);
   ++copy;
   EXPECT_FALSE(copy);
}

class IpRouteMgrTest : public ::testing::Test {
 protected:
   static ip_route_key_t key(char const* prefix) { return ip_route_key_t(ip_prefix_t(std::string(prefix))); }
   void route(char const* prefix, std::uint32_t tag = 0) {
      ip_route_t route(key(prefix));
      route.tag_is(tag);
      mgr.ip_route_set(route);
   }
   static ip_route_via_t via(char const* prefix, char const* group, char const* hop = "", unsigned metric = 0) {
      ip_route_via_t via(key(prefix));
      via.nexthop_group_is(group);
      via.hop_is(ip_addr_t(std::string(hop)));
      via.metric_is(metric);
      return via;
   }
   std::vector<std::string> vias(char const* prefix) {
      std::vector<std::string> texts;
      for (auto it = mgr.ip_route_via_iter(key(prefix)); it; ++it) {
         texts.push_back(it->nexthop_group() + it->hop().to_string() + "/" + std::to_string(it->metric()));
      }
      return texts;
   }

   CallLedger ledger;
   IpRouteMgr mgr{ledger};
};

TEST_F(IpRouteMgrTest, AViaOfAGroupAndViasWithoutOneReplaceEachOther) {
   route("10.0.0.0/8");
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "1.1.1.1"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "2.2.2.2"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "1.1.1.1", 5));  // alike in all but the metric
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("1.1.1.1/5", "2.2.2.2/0"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "g"));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("g/0"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "h"));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("h/0"));
   route("10.0.0.0/8", 3);  // setting the route keeps its vias
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "3.3.3.3"));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("3.3.3.3/0"));
   mgr.ip_route_via_del(via("10.0.0.0/8", "", "3.3.3.3", 9));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre());
   EXPECT_THROW(mgr.ip_route_via_set(via("11.0.0.0/8", "g")), configuration_error);
}

TEST_F(IpRouteMgrTest, AViaOfAGroupThatSaysMoreIsNotTheBareOne) {
   route("10.0.0.0/8");
   mgr.ip_route_via_set(via("10.0.0.0/8", "g", "1.1.1.1"));
   EXPECT_FALSE(mgr.exists(via("10.0.0.0/8", "g")));
   mgr.ip_route_via_set(via("10.0.0.0/8", "g"));
   EXPECT_FALSE(mgr.exists(via("10.0.0.0/8", "g", "1.1.1.1")));
   EXPECT_TRUE(mgr.exists(via("10.0.0.0/8", "g", "", 9)));
   mgr.ip_route_via_set(via("10.0.0.0/8", "g", "", 9));  // the metric is kept
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("g/9"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "g"));
   mgr.resync_init();
   route("10.0.0.0/8");
   mgr.resync_complete();
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre());
}

TEST(NamePoolTest, ANameGoesWithItsLastReference) {
   NamePool pool;
   auto one = pool.get("g");
   {
      auto const two = pool.get("g");
      auto const copy = two;
      one = pool.get("h");
      EXPECT_EQ(*copy, "g");
      EXPECT_EQ(pool.size(), 2);
   }
   EXPECT_EQ(pool.size(), 1);
   one = {};
   EXPECT_EQ(pool.size(), 0);
   EXPECT_EQ(*pool.get("g"), "g");
}

TEST_F(IpRouteMgrTest, AResyncAlsoPurgesTheViasOfRoutesThatStay) {
   route("10.0.0.0/8");
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "1.1.1.1"));
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "2.2.2.2"));
   route("11.0.0.0/8");
   mgr.resync_init();
   route("10.0.0.0/8");
   mgr.ip_route_via_set(via("10.0.0.0/8", "", "2.2.2.2"));
   mgr.resync_complete();
   EXPECT_FALSE(mgr.exists(key("11.0.0.0/8")));
   EXPECT_THAT(vias("10.0.0.0/8"), ElementsAre("2.2.2.2/0"));
   mgr.resync_complete();  // without a resync there is nothing to purge
   EXPECT_TRUE(mgr.ip_route_exists(key("10.0.0.0/8")));
}

TEST_F(IpRouteMgrTest, APrefixLongerThanItsFamilyIsRefusedWhereItIsSetAndFoundNowhere) {
   ip_route_key_t const tooLong(ip_prefix_t(ip_addr_t("::1"), 129));
   ip_route_via_t const via(tooLong);
   EXPECT_THROW(mgr.ip_route_set(ip_route_t(tooLong)), invalid_range_error);
   EXPECT_THROW(mgr.ip_route_via_set(via), invalid_range_error);
   EXPECT_THROW(mgr.ip_route_via_set(via, "red"), invalid_range_error);
   EXPECT_NO_THROW(mgr.ip_route_via_del(via));
   EXPECT_NO_THROW(mgr.ip_route_via_del(via, "red"));
   EXPECT_FALSE(mgr.exists(via) || mgr.exists(tooLong) || mgr.ip_route_via_iter(tooLong));
}

}  // namespace
}  // namespace velm::embedded
