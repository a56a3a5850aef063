// A state folder against all that a switch holds: one switch is given something of everything, another is started on
// its folder.
#include "tests/platform/IntfSwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

intf_id_t eth(int number) { return intf_id_t("Ethernet" + std::to_string(number)); }

void run(Switch& device, std::vector<std::string> const& commands) {
   auto const response = device.vapi.run_config_cmds(commands);
   EXPECT_TRUE(response.success()) << response.error_message();
}

nexthop_group_t groupThrough(std::string const& intf) {
   nexthop_group_entry_t entry;
   entry.intf_is(intf_id_t(intf));
   nexthop_group_t group("through-" + intf, nexthop_group_encap_t::mpls);
   group.nexthop_set(4, entry);
   return group;
}

macsec_profile_t profile() {
   macsec_key_t key;
   key.cak_is("0123secret");
   key.ckn_is("abcd");
   macsec_profile_t profile;
   profile.name_is("p");
   profile.primary_key_is(key);
   profile.mka_life_time_is(9);
   return profile;
}

policy_map_key_t const mapKey("p", policy_feature_t::pbr);
policy_map_hw_status_key_t const place(intf_id_t("Ethernet1"), acl_direction_t::in);
mpls_route_key_t const twoLabels(std::vector{mpls_label_t(5), mpls_label_t(2)}, 7);
sbfd_echo_session_key_t const session(ip_addr_t("10.0.0.1"), eth(1), {mpls_label_t(17), mpls_label_t(1048575)}, 46, 5);

acl_rule_ip_t aclRule() {
   acl_rule_ip_t rule;
   acl_port_spec_t ports;
   ports.ports_is({80, 443, 80});
   rule.source_port_is(ports);
   rule.nexthop_group_is("g");
   return rule;
}

void fillIntfs(Switch& device) {
   run(device,
       {"agent option kept 2", "interface Loopback0", "ip address 10.0.0.1/32", "interface Ethernet2",
        "description uplink", "shutdown", "simulate ip interface Ethernet2 vlan 7",
        "simulate interface Ethernet3 delete", "interface Ethernet5", "channel-group 1 mode active",
        "interface Ethernet6", "channel-group 2 mode on", "shutdown", "simulate macsec Ethernet7 capable false"});
   device.agent.status_set("s", "t");
   device.ipIntfs.ip_addr_merge_mode_is(eth(2), true);
   device.ethLagIntfs.fallback_timeout_is(intf_id_t("Port-Channel1"), 17);
   device.ethLagIntfs.member_priority_is(eth(5), 3);
   device.ethLagIntfs.member_timeout_is(eth(5), eth_lag_intf_member_lacp_timeout_t::fast);
   device.macsec.profile_set(profile());
   device.macsec.intf_profile_is(eth(1), "p");
}

void fillRoutes(Switch& device) {
   ip_route_t route(ip_route_key_t(ip_prefix_t("10.0.0.0/8")));
   route.tag_is(7);
   device.ipRoutes.ip_route_set(route, ip_route_action_t::drop);
   device.ipRoutes.ip_route_set(route, "red");
   ip_route_via_t via(route.key());
   via.nexthop_group_is("g");
   device.ipRoutes.ip_route_via_set(via);
   via.nexthop_group_is("");
   via.hop_is(ip_addr_t("10.1.1.1"));
   via.vni_is(9);
   device.ipRoutes.ip_route_via_set(via, "red");
   mpls_route_via_t label(twoLabels, mpls_action_t::swap);
   label.hop_is(ip_addr_t("10.0.0.1"));
   label.intf_is(eth(1));
   label.pushswap_label_is(mpls_label_t(7));
   label.ttl_mode_is(mpls_ttl_mode_t::pipe);
   label.payload_type_is(mpls_payload_type_t::ipv6);
   label.skip_egress_acl_is(true);
   device.mplsRoutes.mpls_route_set(mpls_route_t(twoLabels));
   device.mplsRoutes.mpls_route_via_set(label);
   device.mplsRoutes.mpls_route_set(mpls_route_t({mpls_label_t(300), 0}));
   device.mplsVrfLabels.mpls_vrf_label_set({mpls_label_t(9), "red"});
   for (auto const* intf : {"Ethernet2", "Ethernet3", "Ethernet4", "Port-Channel1", "Port-Channel2"}) {
      device.nexthopGroups.nexthop_group_set(groupThrough(intf));
   }
   nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(ip_prefix_t("2001:db8::/32"));
   tunnel.nhg_name_is("g");
   device.nexthopGroupTunnels.nexthop_group_tunnel_set(tunnel);
   device.bfdSessions.sbfd_echo_session_set(session);
   device.bfdSessions.sbfd_echo_session_interval_is(session, {50, 4});
   device.bfdSessions.sbfd_echo_session_rtt_enabled_is(session, true);
}

void fillPolicies(Switch& device) {
   policy_map_action_t action(policy_action_type_t::nexthop);
   action.nexthops_is({ip_addr_t("10.0.0.1"), ip_addr_t("::1")});
   policy_map_rule_t rule({"c", policy_feature_t::pbr});
   rule.action_set(action);
   rule.raw_rule_is(aclRule());
   policy_map_t map(mapKey);
   map.rule_set(70000, rule);
   device.policyMaps.policy_map_is(map);
   device.policyMaps.policy_map_apply(mapKey, place.intf_id(), place.direction(), true);
   run(device, {"simulate class-map c rule 1 acl a type 1"});
   device.acls.acl_rule_set({"a", acl_type_t::ipv4}, 1, aclRule());
   device.acls.acl_commit();
}

// Gives it what does not outlive it.
void disturb(Switch& device) {
   run(device,
       {"simulate interface Ethernet2 counter in_octets 5", "simulate port-channel Port-Channel1 speed 5",
        "simulate macsec Ethernet1 key-status 2 traffic-status 1",
        "simulate macsec Ethernet1 counter "
        "in_pkts_not_valid 3",
        "simulate bgp path 10.0.0.0/8 peer 10.1.1.1 vrf red", "simulate policy-map p feature 1 hw-status Ethernet2 1 2",
        "simulate nexthop-group through-Ethernet4 counter 4 1 1"});
   device.bfdSessions.simulateStatus(session, bfd_session_status_t::init);
   device.acls.acl_del({"a", acl_type_t::ipv4});
}

class RestartTest : public IntfSwitchTest {
 protected:
   RestartTest() {
      restart([this](Switch& device) {
         fillIntfs(device);
         fillRoutes(device);
         fillPolicies(device);
         before = shownTables(device);
         disturb(device);
      });
   }
   std::string before;
};

TEST_F(RestartTest, WhatWasSetIsAsItWasAndNothingElseIsThere) {
   EXPECT_EQ(shownTables(device), before);
   // What is not shown:
   EXPECT_TRUE(device.ipIntfs.ip_addr_merge_mode(eth(2)));
   EXPECT_EQ(device.ethLagIntfs.member_priority(eth(5)), 3);
   EXPECT_EQ(device.ethLagIntfs.member_timeout(eth(5)), eth_lag_intf_member_lacp_timeout_t::fast);
   EXPECT_GT(device.ethLagIntfs.member_time(eth(5)), 0);
   EXPECT_EQ(device.macsec.profile("p").primary_key(), profile().primary_key());
   EXPECT_EQ(*device.acls.acl_rule_ip_iter({"a", acl_type_t::ipv4}), std::pair(1U, aclRule()));
   EXPECT_FALSE(device.nexthopGroups.counter("through-Ethernet4", 4).packets());
   device.mplsRoutes.mpls_route_set(mpls_route_t({mpls_label_t(8), 1}));
   EXPECT_GT(device.mplsRoutes.fec_id({mpls_label_t(8), 1}), device.mplsRoutes.fec_id(twoLabels));
}

TEST_F(RestartTest, TheDataplaneCarriesItOutAnewWithoutAnEventOfWhatCameBack) {
   EXPECT_FALSE(device.nexthopGroups.programmed_nexthop_group_iter());
   EXPECT_THAT(events(), IsEmpty());
   EXPECT_THAT(walked(device.nexthopGroups.programmed_nexthop_group_iter(),
                      [&](std::string const& name) { return device.nexthopGroups.active(name) ? name : ""; }),
               ElementsAre("", "", "through-Ethernet4", "through-Port-Channel1", ""));
   EXPECT_THAT(device.policyMaps.hw_status(mapKey).intf_statuses(),
               ElementsAre(::testing::Pair(place, policy_map_status_t::programmed)));
   EXPECT_TRUE(
      turnUntil([&] { return device.bfdSessions.sbfd_echo_session_status(session) == bfd_session_status_t::up; }));
   EXPECT_THAT(eventsOf({"simulate interface Ethernet5 oper down"}), ::testing::Contains("Port-Channel1 oper 2"));
   EXPECT_FALSE(device.nexthopGroups.active("through-Port-Channel1"));
}

}  // namespace
}  // namespace velm::embedded
