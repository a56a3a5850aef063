#pragma once

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/Entries.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::demo {

/// What a controller asks of the switch: each method is one call to velmsdk_service. Throws std::runtime_error if the
/// call fails; whether the switch did as asked is for the caller to read in the answer, which has one status for each
/// element of a bulk request. Throws std::invalid_argument, before anything is sent, for a prefix or an address that is
/// none.
class Controller {
 public:
   explicit Controller(std::shared_ptr<grpc::Channel> const& channel);

   /// To be called first: the service refuses all programming before.
   pb::rpc_server_init_status_msg init(std::uint32_t routeTag, std::string_view policyMap);
   pb::rpc_status_bulk_msg setGroups(std::vector<Group> const& groups);
   pb::rpc_status_msg setRoute(Route const& route);
   pb::rpc_status_bulk_msg setRoutes(std::vector<Route> const& routes);
   pb::rpc_status_msg deleteRoute(std::string const& prefix);
   pb::rpc_status_msg setLabel(LabelRoute const& label);
   pb::rpc_status_bulk_msg setLabels(std::vector<LabelRoute> const& labels);
   pb::rpc_status_msg deleteLabel(std::uint32_t label);
   pb::rpc_status_bulk_msg setTunnels(std::vector<Tunnel> const& tunnels);
   pb::rpc_status_bulk_msg deleteTunnels(std::vector<std::string> const& endpoints);
   pb::rpc_status_msg setRedirect(Redirect const& redirect);
   pb::rpc_status_bulk_msg setRedirects(std::vector<Redirect> const& redirects);
   /// Its DSCP values do not count.
   pb::rpc_status_msg deleteRedirect(Redirect const& redirect);
   pb::rpc_status_bulk_msg setSessions(std::vector<Session> const& sessions);
   pb::rpc_status_msg deleteSession(SessionKey const& key);
   /// Sets the pairs, then removes the keys.
   pb::rpc_status_msg changePairs(std::vector<Pair> const& pairs, std::vector<std::string> const& removedKeys = {});
   /// The pairs of the keys, in their order; the value of an unknown key is empty. Also answered before init().
   std::vector<Pair> pairs(std::vector<std::string> const& keys);
   /// Between the two the controller sets again all that is to stay; the end removes the rest.
   pb::rpc_status_msg startResync();
   pb::rpc_status_msg endResync();

 private:
   std::unique_ptr<pb::velmsdk_service::Stub> stub_;
};

}  // namespace VelmSdkRpc::demo
