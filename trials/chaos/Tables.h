#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "proto/velmsdk.pb.h"
#include "trials/storm/AgentState.h"

namespace VelmSdkRpc::chaos {

/// One element of what a controller programs.
using Element =
   std::variant<pb::nexthop_group_msg, pb::nexthop_group_tunnel_msg, pb::ip_route_msg, pb::mpls_route_msg,
                pb::sbfd_echo_session_msg, pb::cbf_nexthop_group_redirect_msg, pb::rpc_server_state_config_msg>;
/// What goes into one call: elements of one kind.
using Batch = std::vector<Element>;

std::string textOf(Element const& element);

/// What the switch holds of all kinds, or should: "route 10.0.0.0/8" is "g 7", and of a label with two forms "a|b".
using Tables = std::map<std::string, std::string>;
/// The text of what may be there or not, and be anything.
constexpr auto anything = "*";

Tables tablesOf(storm::Console const& console);
/// Lines whose first word is the key, into the tables.
void addLines(Tables& tables, char const* kind, std::vector<std::string> const& lines);
/// Where the tables are not as they should be; empty if they are.
std::string differenceOf(Tables const& found, Tables const& expected);

}  // namespace VelmSdkRpc::chaos
