// A million events over a thousand interfaces, as fast as the switch's command line raises them: how many a second, and
// how many messages the watcher gets for them.

#include "bench/IntfStorm.h"
#include "bench/StormBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   auto const make = [](Bench::Client& client, Bench::Server& agent, std::size_t keys) {
      return std::make_unique<Bench::IntfStorm>(client, agent, keys);
   };
   return Bench::stormBenchmark(argc, argv, {.name = "watch_coalescing", .keys = "interfaces", .make = make}, {});
}
