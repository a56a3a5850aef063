#pragma once

#include <vector>

#include "cli/demo/Entries.h"
#include "cli/demo/SwitchView.h"
#include "cli/demo/Table.h"

/// Entries as tables, a row each, in the order given.
namespace VelmSdkRpc::demo {

Table tableOf(std::vector<Route> const& routes);
Table tableOf(std::vector<GroupState> const& groups);
Table tableOf(std::vector<LabelRoute> const& labels);
Table tableOf(std::vector<Tunnel> const& tunnels);
Table tableOf(std::vector<Pair> const& pairs);

}  // namespace VelmSdkRpc::demo
