#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace VelmSdkRpc::Bench {

/// A benchmark's main: reads the options that addOptions names, then runs. What run throws is told on stderr and makes
/// the exit status 1.
int benchmarkMain(int argc, char** argv, std::string const& name, std::string const& description,
                  std::function<void(CLI::App&)> const& addOptions, std::function<void()> const& run);

}  // namespace VelmSdkRpc::Bench
