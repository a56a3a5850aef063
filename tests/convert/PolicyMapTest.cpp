#include <fmt/format.h>
#include <gmock/gmock.h>

#include "convert/Acl.h"
#include "convert/PolicyMap.h"
#include "platform/velm/policy_map.h"
#include "tests/convert/Messages.h"

namespace VelmSdkRpc::types {
namespace {

using velm::invalid_argument_error;

// clang-format off
TEST(AclFaultTest, TheFirstInOrderIsTold) {
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

TEST(PolicyMapFaultTest, TheFirstInOrderIsTold) {
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
}
// clang-format on

TEST(RequiredTest, ARuleOfAnyTypeNeedsItsTypeAndARawRuleWithOne) {
   auto const error = [](std::string const& fields) {
      return errorText<invalid_argument_error>([&] { convert(message<velm::remote::PolicyMapRule>(fields)); });
   };
   EXPECT_EQ(error("raw_rule { ip_type: 1 }"), "Unknown value for policy map rule type: 0");
   for (auto const type : {"1", "2", "3"}) {
      SCOPED_TRACE(type);
      auto const rule = std::string("policy_map_rule_type: ") + type;
      EXPECT_EQ(error(rule), "Unknown value for Acl IP type: 0");
      EXPECT_EQ(error(rule + " raw_rule { ip_type: 1 }"), "no error");
   }
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
         return errorText<invalid_argument_error>([&] { convert(bad); });
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

TEST(HwStatusTest, PlaceByPlaceInTheirOrderOrAnError) {
   using velm::acl_direction_t;
   using velm::policy_map_status_t;
   velm::policy_map_hw_status_key_t const out(velm::intf_id_t("Ethernet1"), acl_direction_t::out);
   velm::policy_map_hw_status_key_t const in(velm::intf_id_t("Ethernet1"), acl_direction_t::in);
   EXPECT_EQ(convert(velm::policy_map_hw_statuses_t(
                        {{out, policy_map_status_t::unsupported}, {in, policy_map_status_t::pending}}))
                .ShortDebugString(),
             R"(intf_statuses { key { intf_id { name: "Ethernet1" } direction: ACL_DIRECTION_IN } )"
             "status: POLICY_MAP_STATUS_PENDING } "
             R"(intf_statuses { key { intf_id { name: "Ethernet1" } direction: ACL_DIRECTION_OUT } )"
             "status: POLICY_MAP_STATUS_UNSUPPORTED }");
   EXPECT_EQ(convert(velm::policy_map_hw_statuses_t()).ShortDebugString(), "");

   auto const error = [](velm::policy_map_hw_statuses_t::intf_statuses_t const& statuses) {
      return errorText<invalid_argument_error>([&] { convert(velm::policy_map_hw_statuses_t(statuses)); });
   };
   auto const unknown = static_cast<policy_map_status_t>(4);
   EXPECT_EQ(error({{in, unknown}}), "Unknown value for policy feature: 4");
   EXPECT_EQ(error({{{velm::intf_id_t(), static_cast<acl_direction_t>(3)}, unknown}}),
             "Unknown value for Acl direction: 3");
}

}  // namespace
}  // namespace VelmSdkRpc::types
