#pragma once

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmsdk.grpc.pb.h"

namespace VelmSdkRpc::demo {

/// One way out of a nexthop group: packets get the label and leave by the interface to the neighbour.
struct Hop {
   std::string intf;
   std::string neighbour;
   std::uint32_t label = 0;
   std::uint32_t weight = 1;  // share of the group's traffic; 0 takes no part

   bool operator==(Hop const&) const = default;
};

struct Group {
   std::string name;
   std::vector<Hop> hops;
};

struct Route {
   std::string prefix;  // "10.1.2.0/24", IPv4 or IPv6
   std::string group;   // the nexthop group to leave through
   std::uint32_t tag = 0;

   auto operator<=>(Route const&) const = default;
};

/// What a controller asks of the switch, in its own words: each method is one call to velmsdk_service. Throws
/// std::runtime_error if the call fails; whether the switch did as asked is for the caller to read in the answer, which
/// has one status for each element of a bulk request.
class Controller {
 public:
   explicit Controller(std::shared_ptr<grpc::Channel> const& channel);

   /// To be called first: the service refuses all programming before.
   pb::rpc_server_init_status_msg init(std::uint32_t routeTag);
   pb::rpc_status_bulk_msg setGroups(std::vector<Group> const& groups);
   pb::rpc_status_msg setRoute(Route const& route);
   /// Throws std::invalid_argument, before anything is sent, for a prefix that is none.
   pb::rpc_status_bulk_msg setRoutes(std::vector<Route> const& routes);
   pb::rpc_status_msg deleteRoute(std::string const& prefix);
   /// Between the two the controller sets again all that is to stay; the end removes the rest.
   pb::rpc_status_msg startResync();
   pb::rpc_status_msg endResync();

 private:
   std::unique_ptr<pb::velmsdk_service::Stub> stub_;
};

}  // namespace VelmSdkRpc::demo
