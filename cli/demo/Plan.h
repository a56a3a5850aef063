#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/demo/Entries.h"

namespace VelmSdkRpc::demo {

/// The tag of the controllers' routes.
constexpr std::uint32_t ourTag = 100;

/// What the keys of the controllers' pairs begin with: the agent's own statuses are in the same table.
constexpr std::string_view pairPrefix = "demo/";

/// What the switch is to hold.
struct Plan {
   std::vector<Group> groups;  // in the order of their names, which is the switch's
   std::vector<Route> routes;
   std::vector<LabelRoute> labels;
   std::vector<Tunnel> tunnels;
   std::vector<Pair> pairs;
};

/// Ten thousand routes, a few of everything else.
Plan firstPlan();

/// The group and the VRF that successorsPlan() does without.
constexpr std::string_view groupGivenUp = "spread";
constexpr std::string_view vrfGivenUp = "green";

/// What is left of the plan without these two and all that leads there; of the routes only a handful.
Plan successorsPlan(Plan plan);

}  // namespace VelmSdkRpc::demo
