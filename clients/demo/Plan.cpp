#include "clients/demo/Plan.h"

#include <fmt/format.h>

#include <cstddef>
#include <variant>

namespace VelmSdkRpc::demo {
namespace {

constexpr std::size_t routeCount = 10'000;
constexpr std::size_t keptRouteCount = 8;

Hop northHop() { return {.intf = "Ethernet1", .neighbour = "192.0.2.1", .label = 16001}; }
Hop southHop() { return {.intf = "Ethernet2", .neighbour = "192.0.2.5", .label = 16002}; }

std::vector<Group> groupsOf(Hop const& north, Hop const& south) {
   auto northFirst = north;
   northFirst.weight = 3;
   return {{"north", {north}}, {"south", {south}}, {"spread", {northFirst, south}}};
}

// 10.0.0.0/24, 10.0.1.0/24 and so on, dealt out to the groups in turn.
std::vector<Route> routesTo(std::vector<Group> const& groups) {
   std::vector<Route> routes;
   for (std::size_t i = 0; i < routeCount; ++i) {
      routes.push_back({fmt::format("10.{}.{}.0/24", i / 256, i % 256), groups[i % groups.size()].name, ourTag});
   }
   return routes;
}

Hop withLabel(Hop hop, std::uint32_t label) {
   hop.label = label;
   return hop;
}

std::vector<LabelRoute> labelsTo(Hop const& north, Hop const& south) {
   return {{100, ToNexthop{LabelAction::swap, withLabel(north, 200)}},
           {101, ToNexthop{LabelAction::push, withLabel(south, 201)}},
           {102, ToNexthop{LabelAction::pop, withLabel(south, 0)}},
           {103, ToGroup{LabelAction::forward, "spread"}},
           {104, ToGroup{LabelAction::pop, "north"}},
           {105, ToVrf{"green"}}};
}

// Down the way of the hop, and on from its far end if there is a second label. A quick one, so that nobody need wait.
Session sessionOver(Hop const& hop, std::vector<std::uint32_t> furtherLabels, bool rtt, bool tracksIntf) {
   Session session{.key = {.intf = hop.intf, .neighbour = hop.neighbour, .labels = {hop.label}},
                   .minTx = 100,
                   .multiplier = 3,
                   .rtt = rtt,
                   .tracksIntf = tracksIntf};
   auto& labels = session.key.labels;
   labels.insert(labels.end(), furtherLabels.begin(), furtherLabels.end());
   return session;
}

bool isGivenUp(LabelRoute const& label) {
   if (auto const* toGroup = std::get_if<ToGroup>(&label.way)) return toGroup->group == groupGivenUp;
   if (auto const* toVrf = std::get_if<ToVrf>(&label.way)) return toVrf->vrf == vrfGivenUp;
   return false;
}

}  // namespace

Plan firstPlan() {
   auto const north = northHop();
   auto const south = southHop();
   auto const groups = groupsOf(north, south);
   return {.groups = groups,
           .routes = routesTo(groups),
           .labels = labelsTo(north, south),
           .tunnels = {{"192.0.2.101/32", "north", 10},
                       {"192.0.2.102/32", "south", 20},
                       {"2001:db8::101/128", "south", 20},
                       {"2001:db8::102/128", "spread", 30}},
           .redirects = {{.match = "north", .to = "south", .ipv4Dscp = {34, 46}, .ipv6Dscp = {46}},
                         {.match = "spread", .to = "north", .ipv4Dscp = {8}, .ipv6Dscp = {8}}},
           .sessions = {},
           .pairs = {{fmt::format("{}next-label", pairPrefix), "106"}, {fmt::format("{}revision", pairPrefix), "42"}}};
}

Plan successorsPlan(Plan plan) {
   auto const leadsThere = [](auto const& entry) { return entry.group == groupGivenUp; };
   std::erase_if(plan.groups, [](Group const& group) { return group.name == groupGivenUp; });
   std::erase_if(plan.routes, leadsThere);
   plan.routes.resize(keptRouteCount);
   std::erase_if(plan.labels, isGivenUp);
   std::erase_if(plan.tunnels, leadsThere);
   std::erase_if(plan.redirects, [](Redirect const& redirect) {
      return redirect.match == groupGivenUp || redirect.to == groupGivenUp;
   });
   return plan;
}

std::vector<Session> firstSessions() {
   auto const north = northHop();
   auto const south = southHop();
   return {sessionOver(north, {}, true, true), sessionOver(north, {17001}, false, true),
           sessionOver(north, {17002}, true, false), sessionOver(south, {}, true, true),
           sessionOver(south, {17003}, false, false)};
}

std::vector<Session> laterSessions(std::vector<Session> sessions) {
   sessions.pop_back();
   return sessions;
}

std::vector<SessionKey> keysOf(std::vector<Session> const& sessions) {
   std::vector<SessionKey> keys;
   keys.reserve(sessions.size());
   for (auto const& session : sessions) keys.push_back(session.key);
   return keys;
}

}  // namespace VelmSdkRpc::demo
