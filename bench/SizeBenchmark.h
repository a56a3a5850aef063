#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "bench/Contest.h"

namespace VelmSdkRpc::Bench {

struct SizeOptions : ContestOptions {
   std::vector<std::size_t> sizes{10'000, 1'000'000};
};

/// What a benchmark of table sizes is about.
struct SizeBenchmark {
   char const* name;
   std::optional<double> goal{};  // the share of the speed beside the smallest table that is to be left
};

/// Compares agents whose tables differ in size with one another and with the floor, and reports; all of them live at
/// once and take turns. `options` and `subject` are as for routeBenchmark; `addOptions` adds what the subject can be
/// told. The value is that of main, 0 also when the goal is missed.
int sizeBenchmark(int argc, char** argv, SizeBenchmark const& benchmark, SizeOptions options, Subject const& subject,
                  std::function<void(CLI::App&)> const& addOptions = {});

}  // namespace VelmSdkRpc::Bench
