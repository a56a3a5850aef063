// A controller comes to a fresh switch, programs all of its plan, and then redirects some packets: a kind of request a
// chapter.
//
// A chapter is a function. It says what it is about to do, asks the agent, and holds the switch's own tables against
// what it claims, by commands that know nothing of the request. The order matters: a chapter rests on what those before
// it have programmed, and `stage.plan` collects what stands, so that a successor can repeat it.

#include <array>

#include "clients/demo/Stage.h"

namespace VelmSdkRpc::demo {
namespace {

std::string hop(char const* intf, char const* neighbour, unsigned label, unsigned weight) {
   return fmt::format(R"( nexthop={{"nexthop_interface":"{}","nexthop_ip":"{}","labels":[{}],)"
                      R"("mpls_operation":"MPLS_OP_PUSH","replicate_count":{}}})",
                      intf, neighbour, label, weight);
}

void itIntroducesItself(Stage& stage) {
   stage.chapter("The controller introduces itself (rpc_server_init)");
   stage.controller.init(false);
   say("It names the tag of its routes, 100, and a policy map for its redirects. The answer tells what the switch");
   say("holds already: nothing.");
}

void groupsSayWherePacketsLeave(Stage& stage) {
   stage.chapter("Three nexthop groups (nexthop_group_bulk)");
   say("A group says where packets leave, and with what MPLS label. Routes name a group, so that one change to a");
   say("group moves all of its routes. The group `spread` sends three packets north for each one south.");
   auto const north = [](unsigned weight) { return hop("Ethernet1", "192.0.2.1", 16001, weight); };
   auto const south = hop("Ethernet2", "192.0.2.5", 16002, 1);
   stage.plan.groups = {"name=north" + north(1), "name=south" + south, "name=spread" + north(3) + south};
   stage.controller.program(&Stub::nexthop_group_bulk, stage.plan.groups);
   showLines(stage.controller.console, groups,
             {"north 1 yes 0 Ethernet1 192.0.2.1 16001", "south 1 yes 0 Ethernet2 192.0.2.5 16002",
              "spread 1 yes 0 Ethernet1 192.0.2.1 16001", "spread 1 yes 1 Ethernet1 192.0.2.1 16001",
              "spread 1 yes 2 Ethernet1 192.0.2.1 16001", "spread 1 yes 3 Ethernet2 192.0.2.5 16002"});
   say("The switch has programmed each of them once, and all have an interface that is up.");
}

void manyRoutesInOneRequest(Stage& stage) {
   stage.chapter("Ten thousand routes in one request (ip_route_bulk)");
   Words lines;
   for (unsigned i = 0; i < 10'000; ++i) {  // dealt out to the groups in turn
      auto const prefix = fmt::format("10.{}.{}.0/24", i / 256, i % 256);
      auto const* const group = std::array{"north", "south", "spread"}[i % 3];
      stage.plan.routes.push_back(fmt::format("prefix={} tag=100 nexthop_group={}", prefix, group));
      lines.push_back(fmt::format("{} 100 {}", prefix, group));
   }
   auto const start = Clock::now();
   stage.controller.program(&Stub::ip_route_bulk, stage.plan.routes);
   say("{} routes in {:.0f} ms, each with a status of its own in the answer: all succeeded. The commands of the",
       lines.size(), millisecondsSince(start));
   say("switch's command line run over the same port; `show ip route` has exactly these routes:");
   showLines(stage.controller.console, routes, lines);
}

void oneRouteIsWithdrawnAndOneRefused(Stage& stage) {
   auto& controller = stage.controller;
   stage.chapter("One route is withdrawn (ip_route without a group)");
   controller.program(&Stub::ip_route, "prefix=10.0.1.0/24");
   stage.plan.routes.erase(stage.plan.routes.begin() + 1);
   auto const again = controller.ask(&Stub::ip_route, "prefix=10.0.1.0/24");
   expect(again.status() == pb::rpc_status_msg::STATUS_NOT_FOUND, "a route that is gone is not found");
   say("10.0.1.0/24 is gone. To withdraw it again harms nothing, and says so: STATUS_NOT_FOUND.");
   stage.chapter("A route with a wrong tag is refused");
   auto const refusal = controller.ask(&Stub::ip_route, "prefix=10.200.0.0/16 nexthop_group=north tag=101");
   expect(refusal.status() == pb::rpc_status_msg::STATUS_ERROR && !refusal.debug_string().empty(), "it has a reason");
   expect(routes.rows(controller.console).size() == stage.plan.routes.size(), "one route went and none came");
   say("The tag keeps this controller's routes apart from those of others. With another one the answer is");
   say("STATUS_ERROR, and in words: {}", refusal.debug_string());
}

void labelsOfThreeKinds(Stage& stage) {
   auto& controller = stage.controller;
   stage.chapter("MPLS labels of three kinds in one request (mpls_route_bulk)");
   say("Packets that arrive with a label leave to one nexthop, their label swapped, kept under another or popped;");
   say("or they leave through a nexthop group; or they are looked up by address in a VRF, without the label.");
   constexpr auto nexthop =
      "label={} nexthop.nexthop_interface={} nexthop.nexthop_ip={} nexthop.mpls_operation=MPLS_OP_{}";
   constexpr auto group =
      "label={} forward_nexthop_group.nexthop_group={} forward_nexthop_group.mpls_operation=FORWARD_OP_{}";
   stage.plan.labels = {fmt::format(nexthop, 100, "Ethernet1", "192.0.2.1", "SWAP nexthop.labels=200"),
                        fmt::format(nexthop, 101, "Ethernet2", "192.0.2.5", "PUSH nexthop.labels=201"),
                        fmt::format(nexthop, 102, "Ethernet2", "192.0.2.5", "POP"),
                        fmt::format(group, 103, "spread", "FORWARD"),
                        fmt::format(group, 104, "north", "POP"),
                        "label=105 pop_and_forward_vrf_name=green"};
   controller.program(&Stub::mpls_route_bulk, stage.plan.labels);
   showLines(controller.console, labels,
             {"100 3 200 Ethernet1 192.0.2.1", "101 1 201 Ethernet2 192.0.2.5", "102 2 0 Ethernet2 192.0.2.5",
              "103 4 0 spread", "104 2 0 north"});
   showLines(controller.console, vrfLabels, {"105 green"});
   say("This is the switch's `show mpls route`, where actions are 1 push, 2 pop, 3 swap and 4 forward.");
   stage.chapter("A label has one kind at a time (mpls_route)");
   stage.plan.labels.front() = "label=100 pop_and_forward_vrf_name=blue";
   stage.plan.labels.erase(stage.plan.labels.begin() + 1);
   controller.program(&Stub::mpls_route, stage.plan.labels.front());
   controller.program(&Stub::mpls_route, "label=101 request_delete=true");
   say("The packets of label 100 are now looked up in the VRF `blue`, and label 101 is deleted.");
   showLines(controller.console, labels, {"102 2 0 Ethernet2 192.0.2.5", "103 4 0 spread", "104 2 0 north"});
   showLines(controller.console, vrfLabels, {"100 blue", "105 green"});
   say("Label 100 is in the table of such labels alone, no longer a route.");
}

void tunnelsThroughGroups(Stage& stage) {
   auto& controller = stage.controller;
   stage.chapter("Tunnels that lead through groups (nexthop_group_tunnel_bulk)");
   stage.plan.tunnels = {"prefix=192.0.2.101/32 nexthop_group=north igp_metric=10",
                         "prefix=2001:db8::101/128 nexthop_group=south igp_metric=20",
                         "prefix=2001:db8::102/128 nexthop_group=spread igp_metric=30"};
   controller.program(&Stub::nexthop_group_tunnel_bulk, stage.plan.tunnels);
   controller.program(&Stub::nexthop_group_tunnel, "prefix=192.0.2.102/32 nexthop_group=south igp_metric=20");
   controller.program(&Stub::nexthop_group_tunnel, "prefix=192.0.2.102/32");  // without a group: deleted
   stage.plan.tunnels[0] = "prefix=192.0.2.101/32 nexthop_group=north igp_metric=50";
   controller.program(&Stub::nexthop_group_tunnel, stage.plan.tunnels[0]);
   say("Three tunnels are created, a fourth comes and goes, and the metric of the first goes from 10 to 50:");
   showLines(controller.console, tunnels,
             {"192.0.2.101/32 50 north", "2001:db8::101/128 20 south", "2001:db8::102/128 30 spread"});
}

void itLeavesNotes(Stage& stage) {
   stage.chapter("Notes for whoever comes next (rpc_server_state)");
   say("The switch keeps pairs of text for its controllers, and does not read them. `show agent` has them, beside the");
   say("agent's own statuses:");
   constexpr auto notes = R"(set=[{"key":"demo/next-label","value":"106"},{"key":"demo/revision","value":"42"}])";
   stage.controller.program(&Stub::rpc_server_state, notes);
   show(statuses, statuses.rows(stage.controller.console));
}

constexpr auto redirect =
   "match_nexthop_group_name={} redirect_nexthop_group_name={} match_ipv4_dscp=[{}] match_ipv6_dscp=[{}]";

void somePacketsOfAGroupLeaveByAnother(Stage& stage) {
   auto& controller = stage.controller;
   stage.chapter("Some packets of a group leave by another (cbf_nexthop_group_redirect_bulk)");
   say("Packets of some classes deserve a way of their own. The controller names two groups, and the values of the");
   say("DSCP field whose packets leave by the other one: 34 and 46 of `north` by `south`, 8 of `spread` by `north`.");
   say("The agent makes a class of packets of each redirect, picked by the rules of two ACLs, and a rule of the");
   say("policy map that sends the class elsewhere. `show policy-map`, `show class-map` and `show acl`:");
   stage.plan.redirects = {fmt::format(redirect, "north", "south", "34,46", "46"),
                           fmt::format(redirect, "spread", "north", "8", "8")};
   controller.program(&Stub::cbf_nexthop_group_redirect_bulk, stage.plan.redirects);
   showLines(controller.console, policyRules,
             {"demo-redirects 1 north-south south", "demo-redirects 2 spread-north north"});
   showLines(controller.console, classRules,
             {"north-south 1 north-south_IPv4", "north-south 2 north-south_IPv6", "spread-north 1 spread-north_IPv4",
              "spread-north 2 spread-north_IPv6"});
   showLines(controller.console, aclRules,
             {"north-south_IPv4 1 north 34 63", "north-south_IPv4 2 north 46 63", "north-south_IPv6 1 north 184 252",
              "spread-north_IPv4 1 spread 8 63", "spread-north_IPv6 1 spread 32 252"});
   say("IPv6 has its DSCP two bits higher, in the traffic class.");
}

void otherValuesTouchTheAclsAlone(Stage& stage) {
   auto& [channel, stub, console] = stage.controller;
   stage.chapter("Other values for a redirect (cbf_nexthop_group_redirect)");
   auto const mapsWritten = [&] {
      return console.callsOf("class_map_mgr.class_map_is") + console.callsOf("policy_map_mgr.policy_map_is");
   };
   auto const before = mapsWritten();
   say("Those of `north` become 46 for IPv4, and 46 and 48 for IPv6. The agent rewrites its ACLs:");
   stage.plan.redirects[0] = fmt::format(redirect, "north", "south", "46", "46,48");
   stage.controller.program(&Stub::cbf_nexthop_group_redirect, stage.plan.redirects[0]);
   showLines(console, aclRules,
             {"north-south_IPv4 1 north 46 63", "north-south_IPv6 1 north 184 252", "north-south_IPv6 2 north 192 252",
              "spread-north_IPv4 1 spread 8 63", "spread-north_IPv6 1 spread 32 252"});
   expect(mapsWritten() == before, "no map is written");
   say("`show switch calls` counts what the agent asks of the switch: it wrote no class map and no policy map.");
}

void aRemovalIsTakenBack(Stage& stage) {
   auto& [channel, stub, console] = stage.controller;
   stage.chapter("A removal is taken back in time");
   say("A removal waits for a second, and goes with all others of that second in one step. Here the controller");
   say("removes its redirect and asks for it again before that. When the second is over nothing is removed:");
   auto const state = stateOf(console);
   auto const mapsWritten = console.callsOf("policy_map_mgr.policy_map_is");
   auto const rulesWritten = console.callsOf("acl_mgr.acl_rule_set");
   stage.controller.program(&Stub::cbf_nexthop_group_redirect, stage.plan.redirects[0] + " request_delete=true");
   stage.controller.program(&Stub::cbf_nexthop_group_redirect, stage.plan.redirects[0]);
   await([&] { return console.callsOf("policy_map_mgr.policy_map_is") > mapsWritten; }, "the second ends");
   expect(stateOf(console) == state && console.callsOf("acl_mgr.acl_rule_set") == rulesWritten, "nothing is touched");
   say("the policy map is written as it was. No ACL and no class map was touched, and no packet lost its way.");
}

}  // namespace

void programAll(Stage& stage) {
   for (auto const play : {itIntroducesItself, groupsSayWherePacketsLeave, manyRoutesInOneRequest,
                           oneRouteIsWithdrawnAndOneRefused, labelsOfThreeKinds, tunnelsThroughGroups, itLeavesNotes,
                           somePacketsOfAGroupLeaveByAnother, otherValuesTouchTheAclsAlone, aRemovalIsTakenBack}) {
      play(stage);
   }
}

}  // namespace VelmSdkRpc::demo
