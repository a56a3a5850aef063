// nexthop_group_tunnel_bulk calls of a thousand adds against a small and a large table.

#include "bench/Routes.h"
#include "bench/SizeBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::NhgTunnels const tunnels;
   Bench::BulkSubject<Bench::NhgTunnels> const subject(tunnels);
   return Bench::sizeBenchmark(argc, argv, {.name = "nexthop_group_tunnel_bulk", .goal = 0.8}, {}, subject);
}
