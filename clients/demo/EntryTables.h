#pragma once

#include <string>
#include <vector>

#include "clients/demo/Entries.h"
#include "clients/demo/SwitchView.h"
#include "clients/demo/Table.h"

/// Entries as tables, a row each, in the order given.
namespace VelmSdkRpc::demo {

Table tableOf(std::vector<Route> const& routes);
Table tableOf(std::vector<GroupState> const& groups);
Table tableOf(std::vector<LabelRoute> const& labels);
Table tableOf(std::vector<Tunnel> const& tunnels);
Table tableOf(std::vector<Redirect> const& redirects);
Table tableOf(std::vector<PolicyRule> const& rules);
Table tableOf(std::vector<ClassRule> const& rules);
Table tableOf(std::vector<AclRule> const& rules);
Table tableOf(std::vector<CallCount> const& calls);
Table tableOf(std::vector<Session> const& sessions);
Table tableOf(std::vector<SessionState> const& states);
Table tableOf(std::vector<SessionReport> const& reports);
Table tableOf(std::vector<SessionRtt> const& rtts);
Table tableOf(std::vector<Pair> const& pairs);

/// "Ethernet1 192.0.2.1 labels 16001 17001"
std::string textOf(SessionKey const& key);
/// "up"
std::string textOf(SessionStatus status);

}  // namespace VelmSdkRpc::demo
