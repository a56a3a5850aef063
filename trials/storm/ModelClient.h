#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/agent/AnyNativeRequest.h"
#include "tests/agent/NativeModel.h"
#include "trials/storm/AgentState.h"
#include "trials/storm/Findings.h"
#include "trials/storm/Tally.h"

namespace VelmSdkRpc::storm {

/// An orderly client of the native service, in keys of its own, which knows how each of its requests must be answered
/// and what the switch must hold of it. Others may do what they like meanwhile but for what touches everybody.
class ModelClient {
 public:
   ModelClient(std::shared_ptr<grpc::Channel> const& channel, Console const& console, Tally& tally, Findings& findings,
               std::uint32_t seed);

   /// A new session that takes nothing over.
   void beginAnew();
   /// Requests at random while the answer is true.
   void program(std::function<bool()> const& goesOn);
   /// A session as behind a restart of the client: a part of what is there is sent again.
   void resync();
   /// The switch's tables against the model's.
   void compare();

 private:
   using Stub = pb::velmsdk_service::Stub;

   template <class Request, class Response>
   bool call(char const* name, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
             Request const& request, Response& response);
   template <class Request>
   void single(char const* name,
               grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, pb::rpc_status_msg*),
               Request const& request);
   template <class Bulk, class Request>
   void bulk(char const* name,
             grpc::Status (Stub::*method)(grpc::ClientContext*, Bulk const&, pb::rpc_status_bulk_msg*),
             Request* (Bulk::*add)(), Request (AnyNativeRequest::*make)());
   template <class Request>
   void check(char const* name, Request const& request, pb::rpc_status_msg const& answer);
   void send(pb::nexthop_group_msg const& request);
   void send(pb::nexthop_group_tunnel_msg const& request);
   void send(pb::ip_route_msg const& request);
   void send(pb::mpls_route_msg const& request);
   void sendAny();
   void sendPairs();
   void init();
   void setResync(pb::rpc_server_resync_state_enum state);
   void compareTable(char const* name, std::vector<std::string> actual, std::vector<std::string> expected,
                     std::function<bool(std::string const&)> const& isOurs);

   Console const& console_;
   Tally& tally_;
   Findings& findings_;
   std::unique_ptr<Stub> const stub_;
   AnyNativeRequest any_;
   NativeModel model_;
};

}  // namespace VelmSdkRpc::storm
