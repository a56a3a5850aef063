// How long the agent takes from its start to its first answer, with a million routes in its state folder.

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Routes.h"
#include "bench/Server.h"
#include "bench/Subject.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goalSeconds = 2;

struct Options {
   std::string agent;
   std::string json;
   std::size_t routes = 1'000'000;
   std::size_t rounds = 5;
};

void fill(Options const& options, std::string const& folder) {
   IpRoutes const routes;
   Server agent("agent", options.agent, quietlyIn(folder));
   openSession(agent);
   BulkSubject<IpRoutes>(routes).fill(agent, options.routes);
}

Sample startOnce(Options const& options, std::string const& folder) {
   auto const start = std::chrono::steady_clock::now();
   Server agent("agent", options.agent, quietlyIn(folder));
   initSession(agent);
   return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), agent.cpuSeconds()};
}

void run(Options const& options) {
   Report report(
      "start",
      fmt::format("from the agent's start to the answer to rpc_server_init; medians of {} rounds", options.rounds),
      {{"folder", "state folder"},
       {"seconds", "s", 3},
       {"cpu_seconds", "CPU s", 3},
       {"above_empty", "s above empty", 3},
       {"mib", "MiB on disk", 1}});
   report.fact("routes", static_cast<double>(options.routes));
   report.fact("goal_seconds", goalSeconds);
   report.note(fmt::format("Goal: {:.1f} s.", goalSeconds));
   TempFolder const empty;
   TempFolder const full;
   fill(options, full.path());
   std::vector<std::string> const folders{empty.path(), full.path()};
   auto const samples = interleave(folders.size(), options.rounds,
                                   [&](std::size_t which, std::size_t) { return startOnce(options, folders[which]); });
   auto const none = medianOf(samples[0], &Sample::seconds);
   for (std::size_t i = 0; i < folders.size(); ++i) {
      auto const seconds = medianOf(samples[i], &Sample::seconds);
      constexpr double mebibyte = 1024.0 * 1024.0;
      auto const bytes = static_cast<double>(std::filesystem::file_size(folders[i] + "/switch.mdb"));
      report.row({i == 0 ? std::string("empty") : fmt::format("{} routes", options.routes), seconds,
                  medianOf(samples[i], &Sample::cpuSeconds), seconds - none, bytes / mebibyte});
   }
   report.claim({.what = fmt::format("start with {} routes", options.routes),
                 .figure = medianOf(samples[1], &Sample::seconds),
                 .unit = "s",
                 .ratio = ratioOfPairs(samples[0], samples[1], &Sample::seconds),
                 .ratioTo = "empty folder",
                 .mostFigure = goalSeconds});
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("start", "Measures how fast the agent starts with its state.");
   program.agent(options.agent)
      .json(options.json)
      .count("--routes", options.routes, "Routes in the folder")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
