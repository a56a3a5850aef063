// The client for people: a load of a file beside the same bulk by a client that has nothing to read or parse, and how
// long one call takes from the start of the process to its end.

#include <fmt/format.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BulkRounds.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Routes.h"
#include "bench/Server.h"
#include "bench/Subject.h"
#include "clients/support/Address.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goalLoad = 0.5;  // of the bulk's speed
constexpr double goalCall = 50;   // milliseconds

struct Options {
   std::string agent;
   std::string velmctl;
   std::string json;
   std::size_t routes = 1'000'000;
   std::size_t rounds = 5;
   std::size_t calls = 21;
};

/// Runs it to its end, with nothing to read and its words thrown away.
void runProcess(std::vector<std::string> words) {
   std::vector<char*> arguments;
   for (auto& word : words) arguments.push_back(word.data());
   arguments.push_back(nullptr);
   posix_spawn_file_actions_t files;
   posix_spawn_file_actions_init(&files);
   for (int const file : {0, 1, 2}) posix_spawn_file_actions_addopen(&files, file, "/dev/null", O_RDWR, 0);
   pid_t pid = 0;
   int status = posix_spawn(&pid, arguments[0], &files, nullptr, arguments.data(), environ);
   posix_spawn_file_actions_destroy(&files);
   if (status == 0) waitpid(pid, &status, 0);
   if (status != 0) throw std::runtime_error(fmt::format("{} {} failed", words[0], words[1]));
}

void writeFile(std::string const& path, PlaceList const& places) {
   std::ofstream file(path);
   for (auto const place : places) {
      auto const route = IpRoutes().add(place);
      file << fmt::format("{}/{} {}\n", addressText(route.prefix().addr()), route.prefix().prefix_length(),
                          route.nexthop_group());
   }
}

std::vector<Report::Cell> row(char const* what, std::vector<Sample> const& floor, std::vector<Sample> const& own,
                              double entries) {
   auto const speed = ratioOfPairs(floor, own, &Sample::seconds);
   auto const seconds = medianOf(own, &Sample::seconds);
   return {what, seconds * 1e3, entries / seconds, speed.median, speed.low, speed.high};
}

void compareLoads(Server& agent, Options const& options, Report& report) {
   TempFolder const folder;
   auto const path = folder.path() + "/routes";
   auto const places = firstPlaces(options.routes);
   writeFile(path, places);
   IpRoutes const kind;
   BulkSubject<IpRoutes> const subject(kind);
   auto const bulk = subject.prepareFor(agent, 4)(places);
   auto const load = [&] {
      runProcess(
         {options.velmctl, "load", path, "--tag", std::to_string(kind.add(0).tag()), "--address", agent.address()});
   };
   auto const samples = interleave(2, options.rounds, [&](std::size_t which, std::size_t) {
      auto const sample = which == 0 ? timed(agent, bulk) : timed(agent, load);
      subject.remove(agent, places);
      return sample;
   });
   auto const entries = static_cast<double>(options.routes);
   report.row(row("bulk of prepared requests", samples[0], samples[0], entries));
   report.row(row("velmctl load", samples[0], samples[1], entries));
   report.claim({.what = fmt::format("velmctl load of {} routes", options.routes),
                 .figure = entries / medianOf(samples[1], &Sample::seconds),
                 .unit = "routes/s",
                 .ratio = ratioOfPairs(samples[0], samples[1], &Sample::seconds),
                 .ratioTo = "prepared bulk",
                 .leastRatio = goalLoad});
}

void measureCalls(Server& agent, Options const& options, Report& report) {
   auto const samples = interleave(2, options.calls, [&](std::size_t which, std::size_t) {
      return timed(agent, [&] {
         if (which == 0) return runProcess({options.velmctl, "--version"});
         runProcess({options.velmctl, "call", "velmsdk_service.get_rpc_server_state", "--address", agent.address()});
      });
   });
   report.row(row("velmctl --version", samples[0], samples[0], 1));
   report.row(row("velmctl call", samples[0], samples[1], 1));
   report.claim({.what = "velmctl call",
                 .figure = medianOf(samples[1], &Sample::seconds) * 1e3,
                 .unit = "ms",
                 .ratio = ratioOfPairs(samples[0], samples[1], &Sample::seconds),
                 .ratioTo = "--version",
                 .mostFigure = goalCall});
}

void run(Options const& options) {
   Report report("velmctl",
                 fmt::format("{} fresh routes, 1000 to a call, 4 outstanding, {} rounds; single calls, {} rounds",
                             options.routes, options.rounds, options.calls),
                 {{"what", "what"},
                  {"ms", "ms", 1},
                  {"per_second", "/s"},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2}});
   report.fact("routes", static_cast<double>(options.routes));
   report.fact("goal_load_of_floor", goalLoad);
   report.fact("goal_call_ms", goalCall);
   report.note("Medians, from the start of the process to its end; the file is read and parsed in that time. \"Of");
   report.note(
      "floor\" compares speeds in pairs: of a load with the bulk of a client that has its requests ready, of a");
   report.note("call with a process that only tells its version.");
   report.note(fmt::format("Goals: load {:.1f} of the bulk, call {:.0f} ms.", goalLoad, goalCall));
   Server agent("agent", options.agent, quietly());
   openSession(agent);
   compareLoads(agent, options, report);
   measureCalls(agent, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("velmctl", "Measures velmctl against an agent.");
   program.agent(options.agent)
      .json(options.json)
      .count("--routes", options.routes, "Routes in the file")
      .count("--rounds", options.rounds, "Loads, and bulks beside them")
      .count("--calls", options.calls, "Single calls");
   program.app().add_option("--velmctl", options.velmctl, "The program of velmctl")->required();
   return program.main(argc, argv, [&] { Bench::run(options); });
}
