#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

#include "bench/Report.h"

namespace VelmSdkRpc::Bench {

/// Which programs are measured. The floor and the other build may be left out.
struct Builds {
   std::string agent;
   std::string floor;
   std::string against;  // another build of the agent, which is measured in turns with it
};

/// Adds `--agent`, `--floor` and `--against`.
void addBuilds(CLI::App& command, Builds& builds);

/// Adds an option for one number, or a list of them, all above 0.
template <class Count>
CLI::Option* addCount(CLI::App& command, std::string const& option, Count& value, std::string const& description) {
   return command.add_option(option, value, description)->check(CLI::PositiveNumber);
}

/// Adds a benchmark as a command of the program, which runs it if it is named. The options' values hold the defaults.
CLI::App& addBenchmark(CLI::App& program, std::string const& name, std::string const& description,
                       std::function<Report()> run);

/// Each adds one benchmark.
void addCalls(CLI::App& program);
void addIterator(CLI::App& program);
void addWatchLatency(CLI::App& program);
void addSbfdUpdates(CLI::App& program);
void addState(CLI::App& program);
void addVelmctl(CLI::App& program);
void addEventLatency(CLI::App& program);
/// Of the Linux dataplane, where that is built.
void addLookup(CLI::App& program);
void addLinuxChanges(CLI::App& program);
void addLinuxPackets(CLI::App& program);
void addLinuxRoutes(CLI::App& program);

}  // namespace VelmSdkRpc::Bench
