// The cost of a large table beside its programming: memory of the agent for each route, and the time from the agent's
// start to its first answer when its state folder holds the table.
//
// Memory is measured by an agent of its own each time, since an agent that has once been large gives little back. A
// start counts from the making of the process, so that the reading and checking of the folder is in it.

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Program.h"
#include "clients/support/SwitchConsole.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double mebibyte = 1024.0 * 1024.0;
constexpr double mostStart = 2;    // seconds
constexpr double mostRestore = 1;  // seconds

struct Options {
   std::string agent;
   std::size_t routes = 1'000'000;
   std::size_t redirects = 4'000;
   std::size_t rounds = 5;
};

// An agent of its own each time, without a folder.
double bytesOfARoute(Family family, Options const& options) {
   Server const agent(options.agent, quietly());
   prepare(agent, ipRoutes(family));
   auto const before = agent.residentBytes();
   add(agent, ipRoutes(family), firstPlaces(options.routes));
   return (agent.residentBytes() - before) / static_cast<double>(options.routes);
}

void measureMemory(Options const& options, Report& report) {
   for (auto const family : {Family::ipv4, Family::ipv6}) {
      std::vector<double> bytes;
      for (std::size_t round = 0; round < options.rounds; ++round) bytes.push_back(bytesOfARoute(family, options));
      report.row({.what = fmt::format("memory of an {} route among {}", family == Family::ipv4 ? "IPv4" : "IPv6",
                                      options.routes),
                  .figure = median(bytes),
                  .unit = "bytes"});
   }
}

void fill(std::string const& agentProgram, Kind const& kind, std::size_t entries, std::size_t elements,
          std::string const& folder) {
   Server agent(agentProgram, quietlyIn(folder));
   prepare(agent, kind);
   add(agent, kind, firstPlaces(entries), elements);
   agent.stop();
}

Sample startOnce(Options const& options, std::string const& folder) {
   auto const start = std::chrono::steady_clock::now();
   Server const agent(options.agent, quietlyIn(folder));
   initSession(agent);
   return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), agent.cpuSeconds()};
}

void measureStart(Options const& options, Report& report) {
   TempFolder const empty;
   TempFolder const full;
   fill(options.agent, ipRoutes(), options.routes, bulkSize, full.path());
   std::vector<std::string> const folders{empty.path(), full.path()};
   auto const samples = interleave(folders.size(), options.rounds,
                                   [&](std::size_t which, std::size_t) { return startOnce(options, folders[which]); });
   report.row({.what = fmt::format("start with {} routes", options.routes),
               .figure = median(each(samples[1], &Sample::seconds)),
               .unit = "s",
               .ratio = {{ratioOfPairs(samples[0], samples[1], &Sample::seconds), "empty folder"}},
               .mostFigure = mostStart,
               .beside = {{"CPU s", median(each(samples[1], &Sample::cpuSeconds))},
                          {"MiB on disk",
                           static_cast<double>(std::filesystem::file_size(full.path() + "/switch.mdb")) / mebibyte}}});
}

// The first init that names the policy map reads the redirects back; one that names none comes before it and is its
// floor. That all of them were read is seen when they are sent again: not one rule is written.
void measureRestore(Options const& options, Report& report) {
   TempFolder const folder;
   auto const kind = redirects();
   fill(options.agent, kind, options.redirects, options.redirects, folder.path());
   std::vector<std::vector<Sample>> samples(2);
   for (std::size_t round = 0; round < options.rounds; ++round) {
      Server agent(options.agent, quietlyIn(folder.path()));
      bool exists = false;
      samples[0].push_back(timed(agent, [&] { initSession(agent); }));
      samples[1].push_back(timed(agent, [&] { exists = initSession(agent, kind.policyMap).cbf_policy_map_exists(); }));
      if (!exists) throw std::runtime_error("rpc_server_init does not tell of the policy map");
      SwitchConsole const console(agent.channel());
      add(agent, kind, firstPlaces(options.redirects), options.redirects);
      if (console.callsOf("acl_mgr.acl_rule_set") > 0) throw std::runtime_error("redirects were not restored");
      agent.stop();
   }
   report.row({.what = fmt::format("{} redirects restored", options.redirects),
               .figure = median(each(samples[1], &Sample::seconds)),
               .unit = "s",
               .ratio = {{ratioOfPairs(samples[0], samples[1], &Sample::seconds), "an init without a policy map"}},
               .mostFigure = mostRestore});
}

Report run(Options const& options) {
   Report report("state", fmt::format("an agent with {} routes or {} redirects, {} rounds", options.routes,
                                      options.redirects, options.rounds));
   measureMemory(options, report);
   measureStart(options, report);
   measureRestore(options, report);
   return report;
}

}  // namespace

void addState(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "state", "What a large table costs in memory, and at the agent's start",
                                [=] { return run(*options); });
   command.add_option("--agent", options->agent, "The agent's program")->required();
   addCount(command, "--routes", options->routes, "Routes");
   addCount(command, "--redirects", options->redirects, "Redirects");
   addCount(command, "--rounds", options->rounds, "Rounds");
}

}  // namespace VelmSdkRpc::Bench
