#include "tests/platform/IntfSwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class IntfTest : public IntfSwitchTest {};

TEST_F(IntfTest, AdminStateComesBeforeOperStateAndOnlyRealChangesAreRaised) {
   EXPECT_THAT(eventsOf({"interface Ethernet1", "shutdown"}), ElementsAre("Ethernet1 disabled", "Ethernet1 oper 2"));
   EXPECT_EQ(device.intfs.oper_status(eth(1)), oper_status_t::down);
   // Behind a disabled interface the link may do what it likes.
   EXPECT_THAT(eventsOf({"interface Ethernet1", "shutdown", "simulate interface Ethernet1 oper down",
                         "simulate interface Ethernet1 oper up", "simulate interface Ethernet1 oper down"}),
               IsEmpty());
   EXPECT_THAT(eventsOf({"interface Ethernet1", "no shutdown", "simulate interface Ethernet1 oper unknown",
                         "description \"a b\"", "description \"a b\"", "no description"}),
               ElementsAre("Ethernet1 enabled", "Ethernet1 oper 0", "Ethernet1 is a b", "Ethernet1 is "));
}

TEST_F(IntfTest, EventsReachOnlyWhoWatchesTheInterface) {
   recorder.watchAll(false);
   static_cast<intf_handler&>(recorder).watch_intf(eth(2), true);
   auto const changes = [] {
      return std::vector<std::string>{"simulate interface Ethernet1 oper down",
                                      "simulate interface Ethernet2 oper down", "simulate interface Ethernet1 oper up",
                                      "simulate interface Ethernet2 oper up"};
   };
   EXPECT_THAT(eventsOf(changes()), ElementsAre("Ethernet2 oper 2", "Ethernet2 oper 1"));
   static_cast<intf_handler&>(recorder).watch_all_intfs(true);  // once, though it watches it twice
   EXPECT_THAT(eventsOf({"simulate interface Ethernet2 oper down"}), ElementsAre("Ethernet2 oper 2"));
   static_cast<intf_handler&>(recorder).watch_all_intfs(false);
   EXPECT_THAT(eventsOf(changes()), ElementsAre("Ethernet2 oper 1"));
   static_cast<intf_handler&>(recorder).watch_intf(eth(2), false);
   EXPECT_THAT(eventsOf({"simulate interface Ethernet2 oper down"}), IsEmpty());
   EXPECT_EQ(device.intfs.oper_status(eth(2)), oper_status_t::down);
}

TEST_F(IntfTest, AnInterfaceTakesAllThatHangsOnItAlong) {
   macsec_profile_t profile;
   profile.name_is("p");
   device.macsec.profile_set(profile);
   world({"interface Port-Channel1", "interface Ethernet1", "ip address 10.0.0.1/8", "ip address 2001:db8::1/64",
          "channel-group 1 mode on", "mac security profile p",
          "simulate macsec Ethernet1 key-status 2 traffic-status 1", "simulate ip interface Ethernet1 vlan 1006",
          "simulate interface Ethernet1 counter in_octets 5"});
   device.ipIntfs.ip_addr_merge_mode_is(eth(1), true);
   events();
   EXPECT_THAT(eventsOf({"simulate interface Ethernet1 delete", "simulate interface Ethernet1 delete"}),
               ElementsAre("Ethernet1 -10.0.0.1/8", "Ethernet1 -2001:db8::1/64", "Ethernet1 vlan 0",
                           "Port-Channel1 lost Ethernet1", "Port-Channel1 oper 2", "Port-Channel1 speed 0",
                           "Ethernet1 macsec 0 0", "Ethernet1 deleted"));
   EXPECT_FALSE(device.ipIntfs.exists(eth(1)));
   EXPECT_FALSE(device.macsec.macsec_capable(eth(1)));
   // Back again, it knows nothing of its former life.
   EXPECT_THAT(eventsOf({"simulate interface Ethernet1 create", "simulate interface Ethernet1 create"}),
               ElementsAre("Ethernet1 created", "Ethernet1 oper 1"));
   EXPECT_THAT(device.ipIntfs.ip_addrs(eth(1)), IsEmpty());
   EXPECT_FALSE(device.ipIntfs.ip_addr_merge_mode(eth(1)));
   EXPECT_EQ(device.intfCounters.intf_counters(eth(1)), intf_counters_t());
   EXPECT_EQ(device.ethLagIntfs.membership(eth(1)), intf_id_t());
   EXPECT_EQ(device.macsec.intf_profile(eth(1)), "");
   EXPECT_TRUE(device.macsec.profile("p").intfs().empty());
}

TEST_F(IntfTest, AddressesAreReplacedAsASet) {
   auto const set = [](std::initializer_list<char const*> texts) {
      std::set<ip_addr_mask_t> addrs;
      for (auto const* text : texts) addrs.emplace(std::string(text));
      return addrs;
   };
   auto& mgr = device.ipIntfs;
   mgr.ip_addrs_is(eth(1), set({"10.0.0.1/8", "10.0.0.2/8"}));
   mgr.ip_addrs_is(eth(1), set({"10.0.0.2/8", "10.0.0.3/8", "::1/128"}));
   mgr.ip_addr_add(eth(1), ip_addr_mask_t("10.0.0.3/8"));
   mgr.ip_addr_del(eth(1), ip_addr_mask_t("10.0.0.3/9"));
   mgr.ip_addr_del(intf_id_t("Loopback9"), ip_addr_mask_t("10.0.0.3/8"));
   EXPECT_THAT(events(), ElementsAre("Ethernet1 +10.0.0.1/8", "Ethernet1 +10.0.0.2/8", "Ethernet1 -10.0.0.1/8",
                                     "Ethernet1 +10.0.0.3/8", "Ethernet1 +::1/128"));
   EXPECT_THROW(mgr.ip_addr_add(intf_id_t("Loopback9"), ip_addr_mask_t("10.0.0.3/8")), configuration_error);
   EXPECT_THROW(mgr.ip_addr_merge_mode_is(intf_id_t("Loopback9"), true), configuration_error);
   EXPECT_THROW(mgr.ip_addr_add(eth(1), {ip_addr_t("10.0.0.9"), 33}), invalid_range_error);
   EXPECT_THROW(mgr.ip_addr_add(eth(1), ip_addr_mask_t()), invalid_argument_error);
   EXPECT_EQ(mgr.ip_addrs(eth(1)), set({"10.0.0.2/8", "10.0.0.3/8", "::1/128"}));
   EXPECT_THAT(eventsOf({"interface Ethernet1", "no ip address"}),
               ElementsAre("Ethernet1 -10.0.0.2/8", "Ethernet1 -10.0.0.3/8", "Ethernet1 -::1/128"));
}

}  // namespace
}  // namespace velm::embedded
