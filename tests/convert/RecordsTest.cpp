#include <gmock/gmock.h>

#include <climits>
#include <functional>

#include "convert/Acl.h"
#include "convert/BgpPath.h"
#include "convert/IpRoute.h"
#include "convert/MplsRoute.h"
#include "convert/NexthopGroup.h"
#include "convert/PolicyMap.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"
#include "tests/convert/Messages.h"

namespace VelmSdkRpc::types {
namespace {

using velm::invalid_argument_error;
using velm::unsupported_error;

// clang-format off
TEST(FaultTest, TheFirstInOrderIsTold) {
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
// clang-format on

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
      EXPECT_EQ(errorText<invalid_argument_error>(fn), "Unknown address family: 9");
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

TEST(BgpPathTest, AnyStagePassesAndPathsArriveWhole) {
   for (auto const stage : {0, 3, 1000, INT_MAX, -1}) {
      auto const options = convert(message<velm::remote::BgpPathOptions>(
         "path_attr_fields { community_list: true } receive_route_stage: " + std::to_string(stage)));
      EXPECT_EQ(options.receive_route_stage(), static_cast<velm::bgp_receive_route_stage_t>(stage));
      EXPECT_FALSE(options.path_attr_fields().next_hop());
      EXPECT_TRUE(options.path_attr_fields().community_list());
   }
   EXPECT_TRUE(convert(message<velm::remote::BgpPathAttrFields>("next_hop: true")).next_hop());

   velm::bgp_path_key_t key;
   key.vrf_name_is("red");
   auto const path = convert(velm::bgp_path_t(key, {velm::ip_addr_t("10.0.0.1"), 255, 1, UINT32_MAX, {5, 6, 7}}));
   EXPECT_EQ(path.path_key().vrf_name(), "red");
   auto attr = path.path_attr();
   EXPECT_THAT(attr.community_list(), testing::UnorderedElementsAre(5, 6, 7));
   attr.clear_community_list();
   EXPECT_EQ(attr.ShortDebugString(), R"(next_hop: "\n\000\000\001" origin: 255 med: 1 local_pref: 4294967295)");
}

TEST(NexthopGroupCounterTest, NoFieldTakesTheValueOfAnother) {
   EXPECT_EQ(convert(velm::nexthop_group_entry_counter_t(1, UINT64_MAX)).ShortDebugString(),
             "packets: 1 bytes: 18446744073709551615 valid: true");
   EXPECT_EQ(convert(velm::nexthop_group_entry_counter_t()).ShortDebugString(), "");
}

}  // namespace
}  // namespace VelmSdkRpc::types
