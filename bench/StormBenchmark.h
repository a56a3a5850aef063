#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/Client.h"
#include "bench/Server.h"
#include "bench/Storm.h"

namespace VelmSdkRpc::Bench {

/// What a benchmark of event storms is about.
struct StormBenchmark {
   char const* name;
   char const* keys;  // in words
   std::function<std::unique_ptr<Storm>(Client& client, Server& agent, std::size_t keys)> make;
};

struct StormOptions {
   std::string agent{};             // path of the program
   std::string json{};              // where to leave the JSON; empty for nowhere
   std::size_t events = 1'000'000;  // in each round
   std::size_t keys = 1'000;
   std::size_t rounds = 5;
   std::vector<std::size_t> lists{1'000, 10'000};  // changes in each call
};

/// Raises storms of events in an agent that nobody watches and in one that is watched, and reports how fast they are
/// and how many messages the watch gets for them. `options` holds the defaults. The value is that of main.
int stormBenchmark(int argc, char** argv, StormBenchmark const& benchmark, StormOptions options);

}  // namespace VelmSdkRpc::Bench
