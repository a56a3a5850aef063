#pragma once

#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/CommandLine.h"
#include "clients/demo/Entries.h"
#include "clients/demo/RedirectTables.h"

namespace VelmSdkRpc::demo {

/// A nexthop group as the switch holds it. Hops that repeat are counted in their weight.
struct GroupState {
   std::string name;
   bool active = false;        // traffic can leave through it
   std::uint32_t version = 0;  // how often the switch has programmed it
   std::vector<Hop> hops;
};

/// A session as the switch holds it. Which ones track their interface is the agent's knowledge alone.
struct SessionState {
   SessionKey key;
   std::uint32_t minTx = 0;
   std::uint32_t multiplier = 0;
   bool rtt = false;
   SessionStatus status = SessionStatus::unknown;

   auto operator<=>(SessionState const&) const = default;
};

/// How often an operation of the switch's SDK was called: "manager.operation".
struct CallCount {
   std::string operation;
   std::uint64_t count = 0;

   auto operator<=>(CallCount const&) const = default;
};

/// What the switch says that it holds: its `show` commands, run over gRPC, their JSON parsed. Every method throws
/// std::runtime_error if the command fails or answers something else than a table of that kind.
class SwitchView {
 public:
   explicit SwitchView(std::shared_ptr<grpc::Channel> const& channel);

   std::size_t routeCount();
   /// In the order of the switch; all routes, or those of one prefix.
   std::vector<Route> routes(std::string const& prefix = {});
   /// By name.
   std::vector<GroupState> groups();
   /// By label. One that the switch has in both of its tables, or with several ways, comes once for each.
   std::vector<LabelRoute> labels();
   /// In the order of the switch.
   std::vector<Tunnel> tunnels();
   /// In the order of the switch.
   std::vector<SessionState> sessions();
   /// All rules of policy maps, of class maps and of committed ACLs.
   RedirectTables redirects();
   /// Those of the agent's statuses whose keys begin so, by key.
   std::vector<Pair> statuses(std::string_view prefix);
   /// Those since the agent's start, by operation; none is 0. Of the commands only the calls of vapi_mgr count.
   std::vector<CallCount> calls();

 private:
   CommandLine commands_;
};

}  // namespace VelmSdkRpc::demo
