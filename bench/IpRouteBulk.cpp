// ip_route_bulk calls of a thousand adds against a table of a million routes.

#include "bench/Caller.h"
#include "bench/RouteBenchmark.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::size_t elements = 1000;

Prepare prepareFor(Server& server, RouteOptions const& options) {
   auto const caller = std::make_shared<Caller<pb::ip_route_bulk_msg, pb::rpc_status_bulk_msg>>(
      server.channel(), &pb::velmsdk_service::Stub::Asyncip_route_bulk, options.outstanding);
   return
      [caller](Adds const& adds) { return [caller, requests = inBulk(adds, elements)] { caller->call(requests); }; };
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::RouteOptions defaults;
   defaults.adds = 100'000;
   defaults.outstanding = 4;
   return Bench::routeBenchmark(argc, argv, {.name = "ip_route_bulk", .call = "1000 to a call", .goal = 0.4}, defaults,
                                Bench::prepareFor);
}
