#include "platform/switch/Timestamp.h"
#include "tests/platform/IntfSwitchTest.h"

namespace velm::embedded {
namespace {

using mode_t = eth_lag_intf_member_lacp_mode_t;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class LagTest : public IntfSwitchTest {
 protected:
   EthLagIntfMgr& mgr() { return device.ethLagIntfs; }
   // A LAG of the first ports, whose events are taken.
   void lagOf(int ports) {
      mgr().eth_lag_intf_is(po(1));
      for (int port = 1; port <= ports; ++port) mgr().membership_set(eth(port), po(1), mode_t::active);
      events();
   }
   auto membersOf(intf_id_t lag) {
      return walked(mgr().eth_lag_intf_member_iter(lag), std::mem_fn(&intf_id_t::to_string));
   }
};

TEST_F(LagTest, ALagAndItsInterfaceAreOneObjectHoweverTheyCameAndGo) {
   auto const created = ElementsAre("Port-Channel1 created", "Port-Channel1 lag created");
   auto const deleted = ElementsAre("Port-Channel1 lag deleted", "Port-Channel1 deleted");
   auto const create = [&](bool asLag) {
      if (asLag) {
         mgr().eth_lag_intf_is(po(1));
      } else {
         world({"interface Port-Channel1"});
      }
      EXPECT_TRUE(device.intfs.exists(po(1)));
      EXPECT_TRUE(mgr().exists(po(1)));
   };
   for (bool const asLag : {true, false}) {
      create(asLag);
      create(!asLag);
      EXPECT_THAT(events(), created);
      if (asLag) world({"no interface Port-Channel1"});
      mgr().eth_lag_intf_del(po(1));
      EXPECT_THAT(events(), deleted);
      EXPECT_FALSE(device.intfs.exists(po(1)));
      EXPECT_FALSE(mgr().exists(po(1)));
   }
   mgr().eth_lag_intf_del(eth(1));  // which is no LAG, and stays
   EXPECT_TRUE(device.intfs.exists(eth(1)));
   EXPECT_THROW(mgr().eth_lag_intf_is(eth(99)), invalid_argument_error);
   EXPECT_THROW(mgr().eth_lag_intf_is(intf_id_t()), invalid_argument_error);
   EXPECT_THROW(mgr().eth_lag_intf(po(1)), invalid_argument_error);
   EXPECT_FALSE(mgr().eth_lag_intf_iter());
}

TEST_F(LagTest, StateAndSpeedFollowTheActiveMembers) {
   mgr().eth_lag_intf_is(po(1));
   EXPECT_EQ(device.intfs.oper_status(po(1)), oper_status_t::down);
   events();
   mgr().membership_set(eth(1), po(1), mode_t::on);
   mgr().membership_set(eth(1), po(1), mode_t::passive);  // a member already: the mode alone
   EXPECT_THAT(events(),
               ElementsAre("Port-Channel1 has Ethernet1", "Port-Channel1 oper 1", "Port-Channel1 speed 100000000000"));
   EXPECT_EQ(mgr().member_mode(eth(1)), mode_t::passive);
   mgr().membership_set(eth(2), po(1), mode_t::on);
   EXPECT_THAT(events(), ElementsAre("Port-Channel1 has Ethernet2", "Port-Channel1 speed 200000000000"));
   mgr().min_links_is(po(1), 2);
   EXPECT_THAT(events(), IsEmpty());
   EXPECT_THAT(eventsOf({"interface Ethernet2", "shutdown"}),
               ElementsAre("Ethernet2 disabled", "Ethernet2 oper 2", "Port-Channel1 oper 2",
                           "Port-Channel1 speed 100000000000"));
   mgr().min_links_is(po(1), 0);  // needs one all the same
   EXPECT_THAT(events(), ElementsAre("Port-Channel1 oper 1"));
   EXPECT_THAT(eventsOf({"simulate interface Ethernet1 oper unknown"}),
               ElementsAre("Ethernet1 oper 0", "Port-Channel1 oper 2", "Port-Channel1 speed 0"));
   EXPECT_THAT(eventsOf({"simulate interface Ethernet1 oper down"}), ElementsAre("Ethernet1 oper 2"));
   mgr().membership_del(eth(1));
   mgr().membership_del(eth(1));
   EXPECT_THAT(events(), ElementsAre("Port-Channel1 lost Ethernet1"));
}

TEST_F(LagTest, ALagIsDownForReasonsOfItsOwnToo) {
   lagOf(2);
   EXPECT_THAT(eventsOf({"interface Port-Channel1", "shutdown"}),
               ElementsAre("Port-Channel1 disabled", "Port-Channel1 oper 2"));
   EXPECT_THAT(eventsOf({"simulate interface Ethernet1 oper down", "simulate interface Ethernet1 oper up"}),
               ElementsAre("Ethernet1 oper 2", "Port-Channel1 speed 100000000000", "Ethernet1 oper 1",
                           "Port-Channel1 speed 200000000000"));
   EXPECT_THAT(eventsOf({"interface Port-Channel1", "no shutdown", "simulate interface Port-Channel1 oper down"}),
               ElementsAre("Port-Channel1 enabled", "Port-Channel1 oper 1", "Port-Channel1 oper 2"));
   EXPECT_EQ(mgr().speed(po(1)), 200'000'000'000);
}

TEST_F(LagTest, AMemberThatMovesLeavesFirst) {
   lagOf(1);
   mgr().member_priority_is(eth(1), 7);
   world({"interface Ethernet1", "channel-group 2 mode passive"});
   EXPECT_THAT(events(),
               ElementsAre("Port-Channel2 created", "Port-Channel2 lag created", "Port-Channel1 lost Ethernet1",
                           "Port-Channel2 has Ethernet1", "Port-Channel1 oper 2", "Port-Channel1 speed 0",
                           "Port-Channel2 oper 1", "Port-Channel2 speed 100000000000"));
   EXPECT_THAT(membersOf(po(1)), IsEmpty());
   EXPECT_THAT(membersOf(po(2)), ElementsAre("Ethernet1"));
   EXPECT_EQ(mgr().member_priority(eth(1)), LagMember::defaultPriority);
   mgr().membership_set(eth(2), po(2), mode_t::on);
   mgr().membership_set(eth(3), po(2), mode_t::on);
   auto it = mgr().eth_lag_intf_member_iter(po(2));
   mgr().membership_set(eth(2), po(1), mode_t::on);  // gone before the walk reaches it
   ++it;
   EXPECT_EQ(*it, eth(3));
   EXPECT_FALSE(++it);
   events();
   EXPECT_THAT(eventsOf({"no interface Port-Channel2"}),
               ElementsAre("Port-Channel2 lost Ethernet1", "Port-Channel2 lost Ethernet3", "Port-Channel2 lag deleted",
                           "Port-Channel2 deleted"));
   EXPECT_EQ(mgr().membership(eth(1)), intf_id_t());
   EXPECT_THAT(eventsOf({"interface Port-Channel2"}),
               ElementsAre("Port-Channel2 created", "Port-Channel2 lag created"));  // without its former members
   EXPECT_EQ(device.intfs.oper_status(po(2)), oper_status_t::down);
}

TEST_F(LagTest, AReportedSpeedHoldsUntilTheMembersChange) {
   lagOf(2);
   EXPECT_THAT(eventsOf({"simulate port-channel Port-Channel1 speed 5"}), ElementsAre("Port-Channel1 speed 5"));
   EXPECT_THAT(eventsOf({"interface Ethernet1", "description x"}), ElementsAre("Ethernet1 is x"));
   mgr().fallback_timeout_is(po(1), 0);
   EXPECT_EQ(mgr().eth_lag_intf(po(1)).speed(), 5);
   world({"interface Ethernet3", "shutdown"});
   mgr().membership_set(eth(3), po(1), mode_t::on);  // adds nothing, but is a change of the members
   EXPECT_EQ(mgr().speed(po(1)), 200'000'000'000);
   EXPECT_THAT(eventsOf({"simulate port-channel Port-Channel1 speed 5", "simulate interface Ethernet2 oper down"}),
               ::testing::IsSupersetOf({"Port-Channel1 speed 5", "Port-Channel1 speed 100000000000"}));
}

TEST_F(LagTest, WhatCannotBeIsRefusedByNameAndLeavesNothing) {
   lagOf(0);
   EXPECT_THROW(mgr().membership_set(eth(1), po(2), mode_t::on), configuration_error);
   EXPECT_THROW(mgr().membership_set(eth(1), eth(2), mode_t::on), configuration_error);
   EXPECT_THROW(mgr().membership_set(eth(99), po(1), mode_t::on), configuration_error);
   EXPECT_THROW(mgr().membership_set(intf_id_t("Management1"), po(1), mode_t::on), invalid_argument_error);
   EXPECT_THROW(mgr().membership_set(po(1), po(1), mode_t::on), invalid_argument_error);
   EXPECT_THROW(mgr().min_links_is(po(2), 1), configuration_error);
   EXPECT_THROW(mgr().member_timeout_is(eth(1), eth_lag_intf_member_lacp_timeout_t::fast), configuration_error);
   auto const refused = device.vapi.run_config_cmds({"interface Management1", "channel-group 9 mode on"});
   EXPECT_THAT(refused.error_message(), HasSubstr("'Management1' cannot be a member of a LAG"));
   EXPECT_FALSE(mgr().exists(po(9)));
   EXPECT_EQ(mgr().membership_status(eth(1)), eth_lag_intf_membership_t());
   EXPECT_EQ(mgr().fallback_timeout_default(po(9)), 90);
   EXPECT_EQ(mgr().fallback_timeout(po(1)), 90);
   EXPECT_THAT(events(), IsEmpty());
}

TEST_F(LagTest, AMembershipSaysWhyAndSinceWhen) {
   auto const start = timestamp();
   lagOf(1);
   auto const joined = mgr().member_time(eth(1));
   EXPECT_GE(joined, start);
   EXPECT_EQ(mgr().member_reason(eth(1)), "the link is up");
   world({"interface Ethernet1", "description x"});
   EXPECT_EQ(mgr().member_time(eth(1)), joined);
   world({"simulate interface Ethernet1 oper down"});
   EXPECT_NE(mgr().member_time(eth(1)), joined);
   EXPECT_FALSE(mgr().member_active(eth(1)));
   EXPECT_EQ(mgr().membership_status(eth(1)).reason(), "the link is down");
   mgr().membership_del(eth(1));
   EXPECT_EQ(mgr().member_time(eth(1)), 0);
}

}  // namespace
}  // namespace velm::embedded
