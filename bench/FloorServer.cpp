// The floor under the agent's numbers: a bare asynchronous server with the agent's messages that answers at once. Like
// the agent it has one queue, one thread, one object per call and one call of each method asked for in advance; it does
// nothing with a request but to read it.

#include <CLI/CLI.hpp>
#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "bench/Bulk.h"
#include "bench/FloorCall.h"
#include "bench/FloorStream.h"
#include "bench/FloorWatch.h"
#include "bench/MirrorTables.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;
using AsyncService = pb::velmsdk_service::AsyncService;
using Queue = grpc::ServerCompletionQueue;
using Agents = remote::AgentService::AsyncService;
using IpRoutes = remote::IpRouteMgrService::AsyncService;

template <class Request>
void answer(Request const&, pb::rpc_status_msg& response) {
   response.set_status(pb::rpc_status_msg::STATUS_SUCCESS);
}

template <class Bulk>
void answer(Bulk const& request, pb::rpc_status_bulk_msg& response) {
   auto const count = elementsOf(request).size();
   response.mutable_status()->Reserve(count);
   for (int i = 0; i < count; ++i) response.add_status()->set_status(pb::rpc_status_msg::STATUS_SUCCESS);
}

void answer(remote::BulkIpRouteSetRequest const& request, remote::BulkIpRouteSetResponse& response) {
   response.mutable_status();
   response.set_count(elementsOf(request).size());
}

constexpr auto succeed = [](auto const& request, auto& response) { answer(request, response); };

void serveProgramming(AsyncService& service, Queue& queue) {
   serveCalls<&AsyncService::Requestip_route>(service, queue, succeed);
   serveCalls<&AsyncService::Requestip_route_bulk>(service, queue, succeed);
   serveCalls<&AsyncService::Requestmpls_route_bulk>(service, queue, succeed);
   serveCalls<&AsyncService::Requestnexthop_group_tunnel_bulk>(service, queue, succeed);
   serveCalls<&AsyncService::Requestcbf_nexthop_group_redirect_bulk>(service, queue, succeed);
   serveCalls<&AsyncService::Requestsbfd_echo_session_bulk>(service, queue, succeed);
}

// A description is written to every open watch before its call is answered.
void serveWatches(FloorWatch::Service& service, Queue& queue, FloorWatch::Open& open) {
   new FloorWatch(service, queue, open);
   serveCalls<&FloorWatch::Service::Requestdescription_is>(
      service, queue, [&open](remote::DescriptionIsRequest const& request, remote::DescriptionIsResponse&) {
         FloorWatch::Response event;
         *event.mutable_intf_id() = request.intf_id();
         event.set_description(request.description());
         for (auto* const watch : open) watch->send(event);
      });
}

int serve(std::string const& address, std::size_t elements) {
   AsyncService programming;
   Agents agent;
   IpRoutes ipRoutes;
   FloorWatch::Service intfs;
   FloorWatch::Open open;
   grpc::ServerBuilder builder;
   builder.AddListeningPort(address, grpc::InsecureServerCredentials());
   builder.RegisterService(&programming);
   builder.RegisterService(&agent);
   builder.RegisterService(&ipRoutes);
   builder.RegisterService(&intfs);
   auto const queue = builder.AddCompletionQueue();
   auto const server = builder.BuildAndStart();
   if (!server) {
      std::fprintf(stderr, "cannot listen on %s\n", address.c_str());
      return 1;
   }
   serveProgramming(programming, *queue);
   serveCalls<&IpRoutes::Requestbulk_ip_route_set>(ipRoutes, *queue, succeed);
   serveStream<&Agents::Requeststatuses, &MirrorStatuses::streamed>(agent, *queue, elements);
   serveStream<&IpRoutes::Requestip_routes, &MirrorIpRoutes::streamed>(ipRoutes, *queue, elements);
   serveWatches(intfs, *queue, open);
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
   return VelmSdkRpc::Bench::serve(address, elements);
}
