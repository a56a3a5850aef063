// bulk_ip_route_set calls of a thousand routes against a table of a million.

#include "bench/MirrorTables.h"
#include "bench/RouteBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::MirrorIpRoutes const routes;
   Bench::BulkSubject<Bench::MirrorIpRoutes> const subject(routes);
   return Bench::routeBenchmark(
      argc, argv, {.name = "mirror_route_bulk", .call = "1000 to a call of the mirror", .goal = 0.4}, {}, subject);
}
