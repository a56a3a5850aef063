#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

nexthop_group_t groupOf(std::string const& name, std::string const& intf = "Ethernet1") {
   nexthop_group_entry_t entry(ip_addr_t("10.0.0.1"));
   entry.intf_is(intf_id_t(intf));
   nexthop_group_t group(name, nexthop_group_encap_t::mpls);
   group.nexthop_set(4, entry);
   return group;
}

template <class Handler>
struct Recorder : Handler {
   using Handler::Handler;
   void on_nexthop_group_active(std::string const& name, bool active) override {
      seen.push_back(name + (active ? " active" : " inactive"));
   }
   void on_nexthop_group_programmed(std::string const& name, unsigned short version) override {
      seen.push_back(name + ' ' + std::to_string(version));
   }
   std::vector<std::string> take() { return std::exchange(seen, {}); }
   std::vector<std::string> seen;
};

class NexthopGroupTest : public SwitchTest {
 protected:
   NexthopGroupMgr& mgr() { return device.nexthopGroups; }
   auto programmed() { return walked(mgr().programmed_nexthop_group_iter(), std::identity()); }
};

TEST_F(NexthopGroupTest, ProgrammingAndChangesOfStateAreToldWhereTheGroupIsWatched) {
   Recorder<nexthop_group_handler> all(&mgr());
   Recorder<nexthop_group_handler_v2> one(&mgr());
   Recorder<nexthop_group_handler> idle(&mgr());
   all.watch_all_nexthop_groups(true);
   mgr().watch(&one, "h", true);
   mgr().nexthop_group_set(groupOf("g"));
   mgr().nexthop_group_set(groupOf("h", "Ethernet2"));
   EXPECT_THAT(all.take(), IsEmpty());
   deliver();
   EXPECT_THAT(all.take(), ElementsAre("g 1", "g active", "h 1", "h active"));
   EXPECT_THAT(one.take(), ElementsAre("h 1", "h active"));
   world({"simulate interface Ethernet1 oper down", "simulate interface Ethernet1 oper up"});
   mgr().nexthop_group_set(groupOf("g"));  // alike: programmed again, and active as before
   mgr().nexthop_group_set(groupOf("g", "Ethernet3"));
   deliver();
   EXPECT_THAT(all.take(), ElementsAre("g inactive", "g active", "g 2", "g 3"));
   EXPECT_THAT(one.take(), IsEmpty());
   EXPECT_THAT(idle.take(), IsEmpty());
}

TEST_F(NexthopGroupTest, TheLastEventOfAGroupNeverTellsMoreThanIsTrue) {
   Recorder<nexthop_group_handler> recorder(&mgr());
   recorder.watch_all_nexthop_groups(true);
   auto const eventsOf = [&](std::vector<bool> const& steps) {
      for (bool const set : steps) {
         if (set) {
            mgr().nexthop_group_set(groupOf("g"));
         } else {
            mgr().nexthop_group_del("g");
         }
      }
      deliver();
      return recorder.take();
   };
   constexpr bool set = true;
   constexpr bool del = false;
   EXPECT_THAT(eventsOf({set, del}), ElementsAre("g 1", "g active", "g inactive"));
   EXPECT_THAT(eventsOf({set}), ElementsAre("g 1", "g active"));
   EXPECT_THAT(eventsOf({del, set}), ElementsAre("g inactive", "g 1", "g active"));
   EXPECT_TRUE(mgr().active("g"));
   EXPECT_THAT(eventsOf({del}), ElementsAre("g inactive"));
   EXPECT_FALSE(mgr().active("g"));
   EXPECT_THAT(eventsOf({set, del, set, del}),
               ElementsAre("g 1", "g active", "g inactive", "g 1", "g active", "g inactive"));
   world({"simulate interface Ethernet1 oper down"});
   EXPECT_THAT(eventsOf({set, del}), ElementsAre("g 1"));
}

TEST_F(NexthopGroupTest, WhatIsProgrammedIsReadOnceItIs) {
   mgr().nexthop_group_set(groupOf("g"));
   EXPECT_THROW(mgr().programmed_nexthop_group("g"), invalid_argument_error);
   EXPECT_FALSE(mgr().active("g"));
   deliver();
   EXPECT_EQ(mgr().programmed_nexthop_group("g"), groupOf("g"));
   EXPECT_THAT(programmed(), ElementsAre("g"));
   mgr().resync_init();
   mgr().nexthop_group_set(groupOf("h"));
   mgr().resync_complete();
   EXPECT_THROW(mgr().programmed_nexthop_group("g"), invalid_argument_error);
   EXPECT_THROW(mgr().nexthop_group("g"), invalid_argument_error);
   deliver();
   EXPECT_THAT(programmed(), ElementsAre("h"));
   EXPECT_FALSE(mgr().active("g"));
}

TEST_F(NexthopGroupTest, ACounterIsValidWhereTheGroupHasTheEntryAndGoesWithTheGroup) {
   auto const read = [&](unsigned short entry) {
      auto const counter = mgr().counter("g", entry);
      return std::tuple(counter.valid(), counter.packets(), counter.bytes());
   };
   EXPECT_EQ(read(4), std::tuple(false, 0, 0));
   mgr().nexthop_group_set(groupOf("g"));
   EXPECT_EQ(read(4), std::tuple(true, 0, 0));
   world({"simulate nexthop-group g counter 4 1 18446744073709551615", "simulate nexthop-group g counter 5 6 7"});
   EXPECT_EQ(read(4), std::tuple(true, 1, 18446744073709551615UL));
   EXPECT_EQ(read(5), std::tuple(false, 0, 0));
   mgr().nexthop_group_set(groupOf("g", "Ethernet2"));
   EXPECT_EQ(read(4), std::tuple(true, 1, 18446744073709551615UL));
   mgr().nexthop_group_del("g");
   mgr().nexthop_group_set(groupOf("g"));
   EXPECT_EQ(read(4), std::tuple(true, 0, 0));
}

}  // namespace
}  // namespace velm::embedded
