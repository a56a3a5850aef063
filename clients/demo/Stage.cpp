#include "clients/demo/Stage.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

#include "clients/velmctl/MessageReader.h"
#include "clients/velmctl/Split.h"

// The tables say where in a `show` command's JSON their cells are. await() and showLines() look again without a pause:
// each look is a call, and the agent takes its time for it.
namespace VelmSdkRpc::demo {

SwitchTable const groups{"show nexthop-group", "group|programmed|active|nexthop|interface|neighbour|label",
                         "/nexthop_groups",    "/version /active",
                         "/nexthops",          "/intf /nexthop /mpls_action/label_stack"};
SwitchTable const routes{"show ip route", "prefix|tag|group", "/routes", "/key/prefix /tag /vias/0/nexthop_group"};
SwitchTable const labels{"show mpls route", "label|action|new label|interface|neighbour|group", "/routes",
                         "/key/labels /vias/0/label_action /vias/0/pushswap_label /vias/0/intf /vias/0/hop "
                         "/vias/0/nexthop_group"};
SwitchTable const vrfLabels{"show mpls route", "label|VRF", "/vrf_labels", "/label /vrf_name"};
SwitchTable const tunnels{"show nexthop-group tunnel", "tunnel endpoint|metric|group", "/tunnels",
                          "/tunnel_endpoint /igp_metric /nhg_name"};
SwitchTable const statuses{"show agent", "key|value", "/statuses", "*"};
SwitchTable const sessions{"show sbfd echo", "interface|neighbour|labels|every ms|lost ones|round trips|status",
                           "/sessions",
                           "/key/nexthop_intf /key/nexthop /key/labels /min_tx /multiplier /rtt_enabled /status"};
SwitchTable const policyRules{"show policy-map", "policy map|rule|class map|its packets leave by group",
                              "/policy_maps",    "/key/name",
                              "/rules",          "/class_map_key/name /actions/0/nexthop_group_name"};
SwitchTable const classRules{"show class-map", "class map|rule|ACL", "/class_maps", "/key/name",
                             "/rules",         "/acl_key/acl_name"};
SwitchTable const aclRules{"show acl", "ACL|rule|packets to group|priority|mask",      "/acls", "/acl_name",
                           "/rules",   "/nexthop_group /priority_value /priority_mask"};

void expect(bool holds, std::string const& claim) {
   if (!holds) throw std::runtime_error("this does not hold: " + claim);
}

void await(std::function<bool()> const& condition, std::string const& claim) {
   for (auto const deadline = Clock::now() + waitLimit; !condition();) expect(Clock::now() < deadline, claim);
}

void showLines(SwitchConsole const& console, SwitchTable const& table, Words lines) {
   std::ranges::sort(lines);
   for (auto const deadline = Clock::now() + waitLimit;;) {
      auto const rows = table.rows(console);
      if (linesOf(rows) == lines) return show(table, rows);
      expect(Clock::now() < deadline, fmt::format("`{}` shows\n   {}\nand not\n   {}", table.command,
                                                  fmt::join(lines, "\n   "), fmt::join(linesOf(rows), "\n   ")));
   }
}

State stateOf(SwitchConsole const& console) {
   State state;
   for (auto const* const table :
        {&groups, &routes, &labels, &vrfLabels, &tunnels, &sessions, &policyRules, &classRules, &aclRules}) {
      state[table] = linesOf(table->rows(console));
   }
   return state;
}

void fill(google::protobuf::Message& request, std::string_view words) {
   for (auto const word : ctl::split(words, " ")) ctl::readArgument(word, request);
}

void fill(google::protobuf::Message& bulk, Words const& elements) {
   auto const* const field = bulk.GetDescriptor()->field(0);
   for (auto const& words : elements) fill(*bulk.GetReflection()->AddMessage(&bulk, field), words);
}

void Controller::program(Plan const& plan) {
   program(&Stub::nexthop_group_bulk, plan.groups);  // before what names them
   program(&Stub::ip_route_bulk, plan.routes);
   program(&Stub::mpls_route_bulk, plan.labels);
   program(&Stub::nexthop_group_tunnel_bulk, plan.tunnels);
   program(&Stub::cbf_nexthop_group_redirect_bulk, plan.redirects);
   program(&Stub::sbfd_echo_session_bulk, plan.sessions);
}

void Controller::init(bool all) {
   auto const found =
      ask(&Stub::rpc_server_init, "ip_route_tag=100 cbf_nexthop_group_redirect_policy_map_name=demo-redirects");
   ctl::throwIfRefused(found);
   for (bool const exists : {found.ip_routes_exist(), found.nexthop_groups_exist(), found.mpls_routes_exist(),
                             found.nexthop_group_tunnels_exist(), found.cbf_policy_map_exists()}) {
      expect(exists == all, "rpc_server_init tells what is there: " + found.ShortDebugString());
   }
}

void Stage::awaitService() const {
   auto const serves = [&] {
      expect(!agent.waitForEnd({}), "the agent keeps running once it is started");
      return agent.waitUntilServing(std::chrono::milliseconds(200));
   };
   await(serves, "the agent serves within 20 seconds");
}

void Stage::stopAgent() const {
   agent.signal(SIGTERM);
   auto const status = agent.waitForEnd(waitLimit);
   expect(status == 0, fmt::format("the agent ends with status 0; waitpid says {:#x}", status.value_or(-1)));
}

}  // namespace VelmSdkRpc::demo
