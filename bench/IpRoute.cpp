// Single ip_route adds, many outstanding, against a table of a million routes.

#include "bench/Caller.h"
#include "bench/RouteBenchmark.h"

namespace VelmSdkRpc::Bench {
namespace {

Prepare prepareFor(Server& server, RouteOptions const& options) {
   auto const caller = std::make_shared<Caller<pb::ip_route_msg, pb::rpc_status_msg>>(
      server.channel(), &pb::velmsdk_service::Stub::Asyncip_route, options.outstanding);
   return [caller](Adds const& adds) { return [caller, &adds] { caller->call(adds); }; };
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::RouteOptions defaults;
   defaults.adds = 20'000;
   defaults.outstanding = 64;
   return Bench::routeBenchmark(argc, argv, {.name = "ip_route", .call = "one to a call", .goal = 0.85}, defaults,
                                Bench::prepareFor);
}
