#pragma once

#include <functional>

#include "bench/Contest.h"

namespace VelmSdkRpc::Bench {

/// Compares agents whose tables differ in size with one another and with the floor, and reports; all of them live at
/// once and take turns. `defaults` and `subject` are as for routeBenchmark; `addOptions` adds what the subject can be
/// told. The value is that of main, 0 also when the goal is missed.
int sizeBenchmark(int argc, char** argv, char const* name, ContestOptions const& defaults, Subject const& subject,
                  std::function<void(CLI::App&)> const& addOptions = {});

}  // namespace VelmSdkRpc::Bench
