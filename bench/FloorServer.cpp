// The floor under the agent's numbers: a bare asynchronous server with the agent's messages that answers at once. Like
// the agent it has one queue, one thread, one object for a call and one call of each method asked for in advance; it
// does nothing with a request but to read it.

#include <CLI/CLI.hpp>
#include <absl/synchronization/mutex.h>
#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "bench/FloorCalls.h"
#include "bench/Kinds.h"
#include "proto/remote/agent.grpc.pb.h"
#include "proto/remote/intf.grpc.pb.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;
using Queue = grpc::ServerCompletionQueue;
using Native = pb::velmsdk_service::AsyncService;
using Agents = remote::AgentService::AsyncService;
using Routes = remote::IpRouteMgrService::AsyncService;
using Intfs = remote::IntfMgrService::AsyncService;
using IntfWatch = FloorWatch<&Intfs::Requestwatch, Intfs>;

constexpr auto nothing = [](auto const&, auto&) {};
constexpr auto status = [](auto const&, pb::rpc_status_msg& response) {
   response.set_status(pb::rpc_status_msg::STATUS_SUCCESS);
};

/// Answers each element; `elements` is the bulk's accessor.
template <auto elements>
constexpr auto statuses = [](auto const& request, pb::rpc_status_bulk_msg& response) {
   auto const count = (request.*elements)();
   response.mutable_status()->Reserve(count);
   for (int i = 0; i < count; ++i) response.add_status()->set_status(pb::rpc_status_msg::STATUS_SUCCESS);
};

void serveNative(Native& service, Queue& queue) {
   serveCalls<&Native::Requestip_route>(service, queue, status);
   serveCalls<&Native::Requestip_route_bulk>(service, queue, statuses<&pb::ip_route_bulk_msg::ip_route_size>);
   serveCalls<&Native::Requestmpls_route_bulk>(service, queue, statuses<&pb::mpls_route_bulk_msg::mpls_route_size>);
   serveCalls<&Native::Requestnexthop_group_tunnel_bulk>(
      service, queue, statuses<&pb::nexthop_group_tunnel_bulk_msg::nexthop_group_tunnel_size>);
   serveCalls<&Native::Requestcbf_nexthop_group_redirect_bulk>(
      service, queue, statuses<&pb::cbf_nexthop_group_redirect_bulk_msg::cbf_nexthop_group_redirect_size>);
   serveCalls<&Native::Requestsbfd_echo_session_bulk>(
      service, queue, statuses<&pb::sbfd_echo_session_bulk_msg::sbfd_echo_session_size>);
}

void serveRoutes(Routes& service, Queue& queue, std::size_t elements) {
   serveCalls<&Routes::Requestip_route_set>(service, queue, nothing);
   serveCalls<&Routes::Requestip_route>(service, queue,
                                        [](remote::IpRouteRequest const& request, remote::IpRouteResponse& response) {
                                           *response.mutable_ip_route()->mutable_key() = request.key();
                                           response.mutable_ip_route()->set_tag(7);
                                        });
   serveCalls<&Routes::Requestbulk_ip_route_set>(
      service, queue, [](remote::BulkIpRouteSetRequest const& request, remote::BulkIpRouteSetResponse& response) {
         response.mutable_status();
         response.set_count(request.requests_size());
      });
   serveStream<&Routes::Requestip_routes, &streamedRoute>(service, queue, elements);
}

// A description is written to every open watch before its call is answered.
void serveIntfs(Intfs& service, Queue& queue, IntfWatch::Open& open) {
   new IntfWatch(service, queue, open);
   serveCalls<&Intfs::Requestdescription_is>(
      service, queue, [&open](remote::DescriptionIsRequest const& request, remote::DescriptionIsResponse&) {
         IntfWatch::Event event;
         *event.mutable_intf_id() = request.intf_id();
         event.set_description(request.description());
         for (auto* const watch : open) watch->send(event);
      });
}

int serve(std::string const& address, std::size_t elements) {
   Native native;
   Agents agents;
   Routes routes;
   Intfs intfs;
   IntfWatch::Open open;
   grpc::ServerBuilder builder;
   builder.AddListeningPort(address, grpc::InsecureServerCredentials());
   for (grpc::Service* const service : std::initializer_list<grpc::Service*>{&native, &agents, &routes, &intfs}) {
      builder.RegisterService(service);
   }
   auto const queue = builder.AddCompletionQueue();
   auto const server = builder.BuildAndStart();
   if (!server) {
      std::fprintf(stderr, "cannot listen on %s\n", address.c_str());
      return 1;
   }
   serveNative(native, *queue);
   serveRoutes(routes, *queue, elements);
   serveStream<&Agents::Requeststatuses, &streamedStatus>(agents, *queue, elements);
   serveIntfs(intfs, *queue, open);
   void* tag = nullptr;
   bool ok = false;
   while (queue->Next(&tag, &ok)) static_cast<FloorEvent*>(tag)->proceed(ok);
   return 0;  // never: whoever started this process kills it
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   CLI::App app("Answers what the benchmarks call with success and does nothing else.");
   std::string address;
   std::size_t elements = 0;
   app.add_option("--listen", address, "Address to listen on")->required();
   app.add_option("--elements", elements, "Elements to send of each table that is streamed");
   CLI11_PARSE(app, argc, argv);
   // As the agent has it: the floor is what gRPC costs, not what looking for its faults does.
   absl::SetMutexDeadlockDetectionMode(absl::OnDeadlockCycle::kIgnore);
   return VelmSdkRpc::Bench::serve(address, elements);
}
