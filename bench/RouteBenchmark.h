#pragma once

#include "bench/Contest.h"

namespace VelmSdkRpc::Bench {

/// What a benchmark of route programming is about.
struct RouteBenchmark {
   char const* name;
   char const* call;  // what one call is, in words
   double goal;       // the share of the floor's speed that the agent is to reach at trace level 0
};

/// Compares the agent, at trace level 0 and at its default levels, with the floor, and reports. `options` holds the
/// defaults. The value is that of main: 0 also when the goal is missed, for that is for the reader of the table to
/// judge.
int routeBenchmark(int argc, char** argv, RouteBenchmark const& benchmark, ContestOptions options,
                   Subject const& subject);

}  // namespace VelmSdkRpc::Bench
