#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/Entries.h"

namespace VelmSdkRpc::demo {

/// The tag of the controllers' routes.
constexpr std::uint32_t ourTag = 100;

/// The policy map of the controllers' redirects, which is the agent's alone.
constexpr std::string_view policyMapName = "demo-redirects";

/// What the keys of the controllers' pairs begin with: the agent's own statuses are in the same table.
constexpr std::string_view pairPrefix = "demo/";

/// What the switch is to hold.
struct Plan {
   std::vector<Group> groups;  // in the order of their names, which is the switch's
   std::vector<Route> routes;
   std::vector<LabelRoute> labels;
   std::vector<Tunnel> tunnels;
   std::vector<Redirect> redirects;  // in the order in which they were first asked for
   std::vector<Session> sessions;
   std::vector<Pair> pairs;
};

/// Ten thousand routes, a few of everything else, and no sessions.
Plan firstPlan();

/// The group and the VRF that successorsPlan() does without.
constexpr std::string_view groupGivenUp = "spread";
constexpr std::string_view vrfGivenUp = "green";

/// What is left of the plan without these two and all that leads there; of the routes only a handful.
Plan successorsPlan(Plan plan);

/// Sessions over both interfaces of the plan, the most over the first one's. Of those over each some track it and some
/// do not, and some have round-trip times and some not.
std::vector<Session> firstSessions();

/// All of them but one.
std::vector<Session> laterSessions(std::vector<Session> sessions);

std::vector<SessionKey> keysOf(std::vector<Session> const& sessions);

}  // namespace VelmSdkRpc::demo
