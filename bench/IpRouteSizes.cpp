// ip_route_bulk calls of a thousand adds against tables of ten thousand to a million routes.

#include "bench/Routes.h"
#include "bench/SizeBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::IpRoutes const routes;
   Bench::BulkSubject<Bench::IpRoutes> const subject(routes);
   Bench::SizeOptions defaults;
   defaults.sizes = {10'000, 100'000, 1'000'000};
   return Bench::sizeBenchmark(argc, argv, {.name = "ip_route_sizes"}, defaults, subject);
}
