#include <fmt/format.h>

#include <climits>
#include <functional>

#include "convert/Acl.h"
#include "convert/BgpPath.h"
#include "convert/Enums.h"
#include "convert/EthLagIntf.h"
#include "convert/IpRoute.h"
#include "convert/Macsec.h"
#include "convert/MplsRoute.h"
#include "convert/NexthopGroup.h"
#include "convert/PolicyMap.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/intf.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/macsec.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"
#include "tests/convert/Messages.h"

namespace VelmSdkRpc::types {
namespace {

using velm::unsupported_error;

// clang-format off
TEST(FaultTest, TheFirstInOrderIsToldOfRoutesAndGroups) {
   expectOrder<velm::remote::IpRoute>({{R"(key { prefix { ip_addr: "a" } })", "length 1 "}});
   expectOrder<velm::remote::IpRouteVia>({
      {R"(route_key { prefix { ip_addr: "a" } })", "length 1 "},
      {R"(hop: "ab")", "length 2 "},
      {R"(intf { name: "x" })", "'x'"},
      {"mpls_label: 1048576", "MPLS label 1048576 is"},
      {R"(vtep_addr: "abc")", "length 3 "},
      {R"(router_mac: "abcde")", "bytes length 5 do not match MAC(6)"}});
   expectOrder<velm::remote::MplsRoute>({
      {"key { labels { label: 1048576 } labels { label: 1048577 } }", "MPLS label 1048576 is"},
      {"key { metric: 256 }", "metric 256 is out of range"}});
   expectOrder<velm::remote::MplsRouteVia>({
      {"label_action: 5", "Unknown value for mpls action: 5"},
      {"route_key { labels { label: 1048576 } }", "MPLS label 1048576 is"},
      {"route_key { metric: 4294967295 }", "metric 4294967295 is out of range"},
      {R"(hop: "ab")", "length 2 "},
      {R"(intf { name: "x" })", "'x'"},
      {"pushswap_label { label: 1048577 }", "MPLS label 1048577 is"},
      {"ttl_mode: 3", "Unknown value for mpls ttl mode: 3"},
      {"payload_type: -1", "Unknown value for mpls payload type: -1"}});
   expectOrder<velm::remote::NexthopGroupEntry>({
      {R"(nexthop: "a" child_nexthop_group: "g")", "length 1 "},
      {"mpls_action { label_stack: [1048576, 7, 1048577, 7] }", "MPLS label 1048577 is"},
      {"mpls_action { action_type: 9 }", "Unknown value for mpls action: 9"},
      {R"(intf { name: "x" })", "'x'"}});
   expectOrder<velm::remote::NexthopGroup>({
      {R"(nexthops { key: 1 value { nexthop: "a" } })", "length 1 "},
      {R"(destination_ips { key: 1 value: "ab" })", "length 2 "},
      {"gre_key_type: 2", "Unknown value for nexthop_group_gre_key_t 2"},
      {"type: 9", "Unknown value for nexthop_group_encap_t: 9"},
      {R"(source_ip: "abc")", "length 3 "},
      {R"(source_intf { name: "x" })", "'x'"}});
   expectOrder<velm::remote::BgpPathKey>({
      {R"(peer_addr: "a")", "length 1 "}, {R"(prefix { ip_addr: "ab" })", "length 2 "}});
}

TEST(FaultTest, TheFirstInOrderIsToldOfRules) {
   expectOrder<velm::remote::AclTtlSpec>({
      {"oper: 7", "Unknown value for Acl range operator: 7"}, {"ttl: 256", "ttl 256 is out of range"}});
   expectOrder<velm::remote::AclPortSpec>({
      {"oper: -1", "Unknown value for Acl range operator: -1"},
      {"ports: [80, 70000, 70001]", "port 70000 is out of range"}});
   expectOrder<velm::remote::AclRuleIp>({
      {"base { action: 3 }", "Unknown value for Acl action: 3"},
      {"vlan: 70000", "vlan 70000 is"},
      {"vlan_mask: 70001", "vlan mask 70001 is"},
      {"inner_vlan: 70002", "inner vlan 70002 is"},
      {"inner_vlan_mask: 70003", "inner vlan mask 70003 is"},
      {"ip_protocol: 256", "IP protocol 256 is"},
      {"ttl { oper: 7 }", "Unknown value for Acl range operator: 7"},
      {"ttl { ttl: 257 }", "ttl 257 is"},
      {R"(source_addr { ip_addr: "a" })", "length 1 "},
      {R"(destination_addr { ip_addr: "ab" })", "length 2 "},
      {"source_port { oper: 8 }", "Unknown value for Acl range operator: 8"},
      {"source_port { ports: 70004 }", "port 70004 is"},
      {"destination_port { oper: 9 }", "Unknown value for Acl range operator: 9"},
      {"destination_port { ports: 70005 }", "port 70005 is"},
      {"tcp_flags: 70006", "tcp flags 70006 is"},
      {"ip_type: 0", "Unknown value for Acl IP type: 0"},
      {"icmp_type: 70007", "icmp type 70007 is"},
      {"icmp_code: 70008", "icmp code 70008 is"},
      {"priority_value: 258", "priority value 258 is"},
      {"ip_type: 1 priority_mask: 259", "priority mask 259 is"}});
}

TEST(FaultTest, TheFirstInOrderIsToldOfPoliciesAndProfiles) {
   expectOrder<velm::remote::PolicyMapAction>({
      {"action_type: 7", "Unknown value for policy action type: 7"},
      {R"(nexthops: "" nexthops: "ab" nexthops: "abc")", "length 2 "},
      {"dscp: 256", "dscp 256 is out of range"},
      {"traffic_class: 257", "traffic class 257 is out of range"}});
   expectOrder<velm::remote::PolicyMapRule>({
      {"class_map_key { feature: 4 }", "Unknown value for policy feature: 4"},
      {"policy_map_rule_type: 0", "Unknown value for policy map rule type: 0"},
      {"raw_rule { ip_type: 0 }", "Unknown value for Acl IP type: 0"},
      {"policy_map_rule_type: 1 raw_rule { ip_type: 3 } actions {} actions { dscp: 256 } actions { dscp: 257 }",
       "dscp 256 is out of range"}});
   expectOrder<velm::remote::PolicyMap>({
      {"key { feature: -1 }", "Unknown value for policy feature: -1"},
      {"rules { key: 1 value {} }", "Unknown value for policy map rule type: 0"}});
   expectOrder<velm::remote::MacsecProfile>({
      {"key_server_priority: 256", "Invalid key server priority 256"},
      {"cipher: 5", "Invalid macsec cipher suite 5"},
      {"lldp_bypass_level: 3", "Invalid macsec bypass 3"},
      {"traffic_policy: 4", "Invalid macsec traffic policy 4"}});
}
// clang-format on

TEST(StatusFaultTest, AnEnumThatTheSwitchShouldNotHaveIsToldInTheFormOfItsField) {
   using Key = velm::macsec_intf_key_status_t;
   using Traffic = velm::macsec_intf_traffic_status_t;
   EXPECT_EQ(errorText([] { convert(velm::macsec_intf_status_t(Key(6), Traffic(3))); }),
             "Invalid Macsec intf key status 6");
   EXPECT_EQ(errorText([] { convert(velm::macsec_intf_status_t(Key(5), Traffic(3))); }),
             "Invalid Macsec intf traffic status 3");
   velm::eth_lag_intf_t lag;
   lag.fallback_type_is(velm::eth_lag_intf_fallback_type_t(4));
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(lag); }), "unknown fallback type 4");
   velm::eth_lag_intf_membership_t member;
   member.mode_is(velm::eth_lag_intf_member_lacp_mode_t(4));
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(member); }), "unknown LACP member mode 4");
   auto const hwStatus = [](velm::intf_id_t const& intf, int direction) {
      velm::policy_map_hw_status_key_t const key(intf, velm::acl_direction_t(direction));
      return errorText([&] { convert(velm::policy_map_hw_statuses_t({{key, velm::policy_map_status_t(4)}})); });
   };
   EXPECT_EQ(hwStatus(velm::intf_id_t("Ethernet1"), 1), "Unknown value for policy feature: 4");
   EXPECT_EQ(hwStatus(velm::intf_id_t(), 3), "Unknown value for Acl direction: 3");
   EXPECT_EQ(errorText<unsupported_error>([] { convert(velm::oper_status_t(3)); }), "invalid oper_status_t");
}

/// Sets an address of an unknown family and converts.
template <class Value>
auto withUnknownFamily(auto set) {
   return [set] {
      Value value;
      std::invoke(set, value, velm::ip_addr_t(static_cast<velm::af_t>(9), nullptr));
      convert(value);
   };
}

TEST(UnknownFamilyTest, FailsInTheFormOfItsField) {
   auto const prefix = [](auto& key, velm::ip_addr_t const& address) { key.prefix_is(velm::ip_prefix_t(address, 0)); };
   auto const source = [](auto& rule, auto const& address) { rule.source_addr_is(velm::ip_addr_mask_t(address, 0)); };
   for (auto const& fn : std::vector<std::function<void()>>{
           withUnknownFamily<velm::ip_route_key_t>(prefix), withUnknownFamily<velm::acl_rule_ip_t>(source),
           withUnknownFamily<velm::ip_route_via_t>(&velm::ip_route_via_t::hop_is),
           withUnknownFamily<velm::ip_route_via_t>(&velm::ip_route_via_t::vtep_addr_is),
           withUnknownFamily<velm::nexthop_group_entry_t>(&velm::nexthop_group_entry_t::nexthop_is),
           withUnknownFamily<velm::nexthop_group_t>(&velm::nexthop_group_t::source_ip_is),
           withUnknownFamily<velm::bgp_path_key_t>(prefix)}) {
      EXPECT_EQ(errorText<unsupported_error>(fn), "Unknown address family on conversion from SDK");
   }
   auto const destination = [](auto& group, auto const& address) { group.destination_ips_is({{1, address}}); };
   auto const nexthops = [](auto& action, auto const& address) { action.nexthops_is({address}); };
   for (auto const& fn : std::vector<std::function<void()>>{
           withUnknownFamily<velm::policy_map_action_t>(nexthops),
           withUnknownFamily<velm::mpls_route_via_t>(&velm::mpls_route_via_t::hop_is),
           withUnknownFamily<velm::nexthop_group_t>(destination),
           withUnknownFamily<velm::bgp_path_key_t>(&velm::bgp_path_key_t::peer_addr_is),
           withUnknownFamily<velm::bgp_path_attr_t>(&velm::bgp_path_attr_t::next_hop_is)}) {
      EXPECT_EQ(errorText(fn), "Unknown address family: 9");
   }
}

TEST(CutTest, OnlyTheLowBitsCountWhereNothingIsChecked) {
   for (auto const& [preference, cut] : {std::pair(0, 0), {255, 255}, {256, 0}, {300, 44}}) {
      auto const text = "preference: " + std::to_string(preference);
      EXPECT_EQ(convert(message<velm::remote::IpRouteKey>(text)).preference(), cut);
   }
   auto const group = convert(message<velm::remote::NexthopGroup>(
      R"(ttl: 65536 nexthops { key: 1 value { child_nexthop_group: "a" } }
         nexthops { key: 65537 value { child_nexthop_group: "a" } }
         destination_ips { key: 4294967295 value: "\n\0\0\1" } destination_ips { key: 65535 value: "\n\0\0\1" })"));
   EXPECT_EQ(group.ttl(), 0);
   velm::nexthop_group_entry_t entry;
   entry.child_nexthop_group_is("a");
   EXPECT_THAT(group.nexthops(), testing::ElementsAre(std::pair(1, entry)));
   EXPECT_THAT(group.destination_ips(), testing::ElementsAre(std::pair(65535, velm::ip_addr_t("10.0.0.1"))));
   // A pair that is dropped is judged all the same.
   expectOrder<velm::remote::NexthopGroup>(
      {{R"(destination_ips { key: 1 value: "" } destination_ips { key: 65537 value: "a" })", "length 1 "}});
}

TEST(AbsentFieldTest, ReadsAsItsDefault) {
   EXPECT_EQ(convert(velm::remote::IpRouteVia()).route_key().preference(), 0);  // where the SDK begins with 1
   EXPECT_EQ(convert(velm::remote::MplsRouteKey()), velm::mpls_route_key_t());
   EXPECT_EQ(convert(velm::remote::MplsRouteVia()), velm::mpls_route_via_t());
   EXPECT_EQ(convert(velm::remote::NexthopGroup()), velm::nexthop_group_t());
   // And the other way round: no address and no MAC address are no bytes.
   auto const via = convert(velm::ip_route_via_t());
   EXPECT_EQ(via.hop() + via.vtep_addr() + via.router_mac(), "");
}

TEST(BgpPathTest, AnyStagePasses) {
   for (auto const stage : {0, 3, 1000, INT_MAX, -1}) {
      auto const options = convert(message<velm::remote::BgpPathOptions>(
         "path_attr_fields { community_list: true } receive_route_stage: " + std::to_string(stage)));
      EXPECT_EQ(options.receive_route_stage(), static_cast<velm::bgp_receive_route_stage_t>(stage));
      EXPECT_FALSE(options.path_attr_fields().next_hop());
      EXPECT_TRUE(options.path_attr_fields().community_list());
   }
   EXPECT_TRUE(convert(message<velm::remote::BgpPathAttrFields>("next_hop: true")).next_hop());
}

struct Bound {
   std::string field;
   std::uint32_t last;
   std::string text;
};

/// The last number passes, whatever its protocol says, and what is above is told.
template <class Message>
void expectBounds(std::string const& fields, std::vector<Bound> const& bounds) {
   for (auto const& [field, last, text] : bounds) {
      auto const error = [&](std::uint32_t number) {
         auto const bad = message<Message>(fmt::format("{} {}: {}", fields, field, number));
         return errorText([&] { convert(bad); });
      };
      EXPECT_EQ(error(last), "no error");
      for (auto const number : {last + 1, UINT32_MAX}) {
         EXPECT_EQ(error(number), fmt::format("{} {} is out of range", text, number));
      }
   }
}

TEST(BoundTest, OnlyTheTypesOfTheSdkBoundNumbers) {
   expectBounds<velm::remote::AclTtlSpec>("", {{"ttl", 255, "ttl"}});
   expectBounds<velm::remote::AclPortSpec>("ports: 1", {{"ports", 65535, "port"}});
   expectBounds<velm::remote::AclRuleIp>("ip_type: 1", {{"vlan", 65535, "vlan"},
                                                        {"vlan_mask", 65535, "vlan mask"},
                                                        {"inner_vlan", 65535, "inner vlan"},
                                                        {"inner_vlan_mask", 65535, "inner vlan mask"},
                                                        {"ip_protocol", 255, "IP protocol"},
                                                        {"tcp_flags", 65535, "tcp flags"},
                                                        {"icmp_type", 65535, "icmp type"},
                                                        {"icmp_code", 65535, "icmp code"},
                                                        {"priority_value", 255, "priority value"},
                                                        {"priority_mask", 255, "priority mask"}});
   expectBounds<velm::remote::PolicyMapAction>("action_type: POLICY_ACTION_TYPE_DROP",
                                               {{"dscp", 255, "dscp"}, {"traffic_class", 255, "traffic class"}});
}

TEST(RepeatsTest, PortsAreAListNexthopsAndActionsAreSets) {
   auto const ports = convert(message<velm::remote::AclPortSpec>("ports: [443, 80, 443, 0]"));
   EXPECT_THAT(ports.ports(), testing::ElementsAre(443, 80, 443, 0));
   EXPECT_THAT(convert(ports).ports(), testing::ElementsAre(443, 80, 443, 0));

   // The second and third actions differ in the order of their nexthops alone; the others in their last fields.
   auto const rule = convert(message<velm::remote::PolicyMapRule>(
      R"(policy_map_rule_type: 1 raw_rule { ip_type: 1 }
         actions { action_type: 6 vrf: "red" }
         actions { action_type: 5 nexthops: "\n\0\0\1" nexthops: "\n\0\0\2" nexthops: "\n\0\0\1" }
         actions { action_type: 5 nexthops: "\n\0\0\2" nexthops: "\n\0\0\1" }
         actions { action_type: 1 traffic_class: 2 } actions { action_type: 1 traffic_class: 1 })"));
   auto const sent = convert(rule);
   ASSERT_EQ(sent.actions_size(), 4);
   EXPECT_EQ(sent.actions(0).ShortDebugString(), "action_type: POLICY_ACTION_TYPE_DROP traffic_class: 1");
   EXPECT_EQ(sent.actions(1).ShortDebugString(), "action_type: POLICY_ACTION_TYPE_DROP traffic_class: 2");
   EXPECT_THAT(sent.actions(2).nexthops(),
               testing::UnorderedElementsAre(std::string("\n\0\0\1", 4), std::string("\n\0\0\2", 4)));
   EXPECT_EQ(sent.actions(3).ShortDebugString(), R"(action_type: POLICY_ACTION_TYPE_VRF vrf: "red")");
}

TEST(MacsecProfileTest, OnlyTwoZerosLeaveTheDefaultAlone) {
   velm::macsec_profile_t expected;
   ASSERT_NE(expected.mka_life_time(), 0U);
   ASSERT_NE(expected.cipher(), velm::macsec_cipher_suite_t::none);
   ASSERT_NE(expected.key_server_priority(), 0);
   expected.key_server_priority_is(0);
   EXPECT_EQ(convert(velm::remote::MacsecProfile()), expected);
   EXPECT_EQ(convert(expected).mka_life_time(), expected.mka_life_time());  // which is what is read afterwards

   expected.mka_life_time_is(1);
   EXPECT_EQ(convert(message<velm::remote::MacsecProfile>("mka_life_time: 1")), expected);
   expected.cipher_is(velm::macsec_cipher_suite_t::gcm_aes_256);
   expected.key_server_priority_is(255);
   EXPECT_EQ(convert(message<velm::remote::MacsecProfile>("mka_life_time: 1 cipher: 2 key_server_priority: 255")),
             expected);
}

}  // namespace
}  // namespace VelmSdkRpc::types
