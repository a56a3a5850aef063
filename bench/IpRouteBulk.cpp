// ip_route_bulk calls of a thousand adds against a table of a million routes.

#include "bench/RouteBenchmark.h"
#include "bench/Routes.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::IpRoutes const routes;
   Bench::BulkSubject<Bench::IpRoutes> const subject(routes);
   return Bench::routeBenchmark(argc, argv, {.name = "ip_route_bulk", .call = "1000 to a call", .goal = 0.4}, {},
                                subject);
}
