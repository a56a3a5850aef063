// The client for people: a load of a file beside the same bulk by a client that has nothing to read or parse, and how
// long one call takes from the start of the process to its end.

#include <fmt/format.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Program.h"
#include "clients/support/Address.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double leastLoad = 0.5;  // of the bulk's speed
constexpr double mostCall = 50;    // milliseconds

struct Options {
   std::string agent;
   std::string velmctl;
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

// The routes of the requests, a line each; the tag of all of them.
std::uint32_t writeFile(std::string const& path, Requests const& requests) {
   std::ofstream file(path);
   std::uint32_t tag = 0;
   for (auto const& request : requests.list) {
      for (auto const& route : static_cast<pb::ip_route_bulk_msg const&>(*request.message).ip_route()) {
         file << fmt::format("{}/{} {}\n", addressText(route.prefix().addr()), route.prefix().prefix_length(),
                             route.nexthop_group());
         tag = route.tag();
      }
   }
   return tag;
}

void compareLoads(Server const& agent, Options const& options, Report& report) {
   TempFolder const folder;
   auto const path = folder.path() + "/routes";
   auto const places = firstPlaces(options.routes);
   auto const requests = ipRoutes().add(places, bulkSize);
   auto const tag = std::to_string(writeFile(path, requests));
   AsyncClient client;
   auto const samples = interleave(2, options.rounds, [&](std::size_t which, std::size_t) {
      auto const sample = timed(agent, [&] {
         if (which == 0) return send(requests, client, agent.channel(), 4);
         runProcess({options.velmctl, "load", path, "--tag", tag, "--address", agent.address()});
      });
      remove(agent, ipRoutes(), places);
      return sample;
   });
   auto const rateOf = [&](std::size_t which) {
      return static_cast<double>(options.routes) / median(each(samples[which], &Sample::seconds));
   };
   report.row({.what = fmt::format("velmctl load of {} routes", options.routes),
               .figure = rateOf(1),
               .unit = "routes/s",
               .ratio = {{ratioOfPairs(samples[0], samples[1], &Sample::seconds), "prepared bulk"}},
               .leastRatio = leastLoad,
               .beside = {{"other's /s", rateOf(0)}}});
}

void measureCalls(Server const& agent, Options const& options, Report& report) {
   auto const samples = interleave(2, options.calls, [&](std::size_t which, std::size_t) {
      return timed(agent, [&] {
         if (which == 0) return runProcess({options.velmctl, "--version"});
         runProcess({options.velmctl, "call", "velmsdk_service.get_rpc_server_state", "--address", agent.address()});
      });
   });
   report.row({.what = "velmctl call",
               .figure = median(each(samples[1], &Sample::seconds)) * 1e3,
               .unit = "ms",
               .ratio = {{ratioOfPairs(samples[0], samples[1], &Sample::seconds), "--version"}},
               .mostFigure = mostCall});
}

Report run(Options const& options) {
   Report report("velmctl", fmt::format("from the start of the process to its end: {} fresh routes, 1000 to a call, 4 "
                                        "outstanding, {} rounds; single calls, {} rounds",
                                        options.routes, options.rounds, options.calls));
   Server const agent(options.agent, quietly());
   prepare(agent, ipRoutes());
   compareLoads(agent, options, report);
   measureCalls(agent, options, report);
   return report;
}

}  // namespace

void addVelmctl(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "velmctl", "velmctl against an agent", [=] { return run(*options); });
   command.add_option("--agent", options->agent, "The agent's program")->required();
   command.add_option("--velmctl", options->velmctl, "The program of velmctl")->required();
   addCount(command, "--routes", options->routes, "Routes in the file");
   addCount(command, "--rounds", options->rounds, "Loads, and bulks beside them");
   addCount(command, "--calls", options->calls, "Single calls");
}

}  // namespace VelmSdkRpc::Bench
