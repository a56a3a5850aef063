// What a route costs the agent in memory, at a million of them.

#include <fmt/format.h>

#include <string>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Routes.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string json;
   std::size_t routes = 1'000'000;
   std::size_t rounds = 5;
};

struct Resident {
   double before = 0;
   double after = 0;
};

Resident loadOnce(Family family, Options const& options) {
   IpRoutes const routes{family};
   Server agent("agent", options.agent, quietly());
   openSession(agent);
   auto const before = agent.residentBytes();
   BulkSubject<IpRoutes>(routes).fill(agent, options.routes);
   return {before, agent.residentBytes()};
}

// By what the agent has resident before and after the load, each time an agent of its own.
void measure(char const* name, Family family, Options const& options, Report& report) {
   std::vector<double> before;
   std::vector<double> after;
   std::vector<double> each;
   for (std::size_t round = 0; round < options.rounds; ++round) {
      auto const resident = loadOnce(family, options);
      before.push_back(resident.before);
      after.push_back(resident.after);
      each.push_back((resident.after - resident.before) / static_cast<double>(options.routes));
   }
   constexpr double mebibyte = 1024.0 * 1024.0;
   report.row({name, median(before) / mebibyte, median(after) / mebibyte, median(each)});
   report.claim(
      {.what = fmt::format("an {} route among {}", name, options.routes), .figure = median(each), .unit = "bytes"});
}

void run(Options const& options) {
   Report report("route_memory",
                 fmt::format("resident memory of the agent, {} routes through one group; medians of {} rounds",
                             options.routes, options.rounds),
                 {{"routes", "routes"},
                  {"mib_before", "MiB before", 1},
                  {"mib_after", "MiB after", 1},
                  {"bytes_per_route", "bytes/route", 1}});
   report.fact("route_count", static_cast<double>(options.routes));
   measure("IPv4", Family::ipv4, options, report);
   measure("IPv6", Family::ipv6, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("route_memory", "Measures the agent's memory for each route.");
   program.agent(options.agent)
      .json(options.json)
      .count("--routes", options.routes, "Routes to load")
      .count("--rounds", options.rounds, "Rounds, each with an agent of its own");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
