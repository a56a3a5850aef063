// The same as watch_coalescing for a million events over ten thousand BGP paths, as when a peer comes up or goes.

#include "bench/BgpPathStorm.h"
#include "bench/StormBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   auto const make = [](Bench::Client& client, Bench::Server& agent, std::size_t keys) {
      return std::make_unique<Bench::BgpPathStorm>(client, agent, keys);
   };
   return Bench::stormBenchmark(argc, argv, {.name = "bgp_path_bursts", .keys = "BGP paths", .make = make},
                                {.keys = 10'000});
}
