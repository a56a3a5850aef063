// The benchmarks, a command each: bench COMMAND --help lists what one can be told.

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "bench/Program.h"

namespace VelmSdkRpc::Bench {

void addBuilds(CLI::App& command, Builds& builds) {
   command.add_option("--agent", builds.agent, "The agent's program")->required();
   command.add_option("--floor", builds.floor, "The floor's program");
   command.add_option("--against", builds.against, "Another build of the agent, compared with it in pairs");
}

CLI::App& addBenchmark(CLI::App& program, std::string const& name, std::string const& description,
                       std::function<Report()> run) {
   auto& command = *program.add_subcommand(name, description);
   command.option_defaults()->always_capture_default();
   auto const json = std::make_shared<std::string>();
   command.add_option("--json", *json, "File to leave the results in");
   command.callback([run = std::move(run), json] { run().publish(*json); });
   return command;
}

}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   CLI::App program("Measures the agent, each figure beside the least that anything would cost.", "bench");
   program.require_subcommand(1);
   for (auto const add : {Bench::addCalls, Bench::addIterator, Bench::addWatchLatency, Bench::addSbfdUpdates,
                          Bench::addState, Bench::addVelmctl, Bench::addEventLatency}) {
      add(program);
   }
#ifdef VELM_LINUX
   for (auto const add : {Bench::addLookup, Bench::addLinuxRoutes, Bench::addLinuxChanges, Bench::addLinuxPackets})
      add(program);
#endif
   try {
      program.parse(argc, argv);
      return 0;
   } catch (CLI::ParseError const& e) {
      return program.exit(e);
   } catch (std::exception const& e) {
      fmt::print(stderr, "bench: {}\n", e.what());
      return 1;
   }
}
