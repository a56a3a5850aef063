// What a route costs the agent in memory, at a million of them.

#include <fmt/format.h>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Routes.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string json;
   std::size_t routes = 1'000'000;
};

// By what the agent has resident before and after the load.
std::vector<Report::Cell> measure(char const* name, Family family, Options const& options) {
   IpRoutes const routes{family};
   Server agent("agent", options.agent, quietly());
   openSession(agent);
   auto const before = agent.residentBytes();
   BulkSubject<IpRoutes>(routes).fill(agent, options.routes);
   auto const after = agent.residentBytes();
   constexpr double mebibyte = 1024.0 * 1024.0;
   return {name, before / mebibyte, after / mebibyte, (after - before) / static_cast<double>(options.routes)};
}

void run(Options const& options) {
   Report report("route_memory",
                 fmt::format("resident memory of the agent, {} routes through one group", options.routes),
                 {{"routes", "routes"},
                  {"mib_before", "MiB before", 1},
                  {"mib_after", "MiB after", 1},
                  {"bytes_per_route", "bytes/route", 1}});
   report.fact("route_count", static_cast<double>(options.routes));
   report.row(measure("IPv4", Family::ipv4, options));
   report.row(measure("IPv6", Family::ipv6, options));
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("route_memory", "Measures the agent's memory for each route.");
   program.agent(options.agent).json(options.json).count("--routes", options.routes, "Routes to load");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
