#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "bench/Routes.h"
#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// The command line of a benchmark of route programming.
struct RouteOptions {
   std::string agent;  // paths of the two programs
   std::string floor;
   std::string json;                // where to leave the JSON; empty for nowhere
   std::size_t routes = 1'000'000;  // in the agent's table while it is measured
   std::vector<Order> orders{Order::ascending, Order::shuffled, Order::repeated};
   std::size_t rounds = 11;
   std::size_t adds = 0;         // by each server in each round
   std::size_t outstanding = 0;  // calls in flight
};

/// What one such benchmark is about.
struct RouteSubject {
   char const* name;
   char const* call;  // what one call is, in words
   double goal;       // the share of the floor's speed that the agent is to reach at trace level 0
};

/// Builds the requests for the adds, outside the time, and gives the work inside it: the calls.
using Prepare = std::function<std::function<void()>(Adds const& adds)>;
using PrepareFor = std::function<Prepare(Server& server, RouteOptions const& options)>;

/// Compares the agent, at trace level 0 and at its default levels, with the floor, and reports. `options` holds the
/// defaults, `prepareFor` is asked once for each server. The value is that of main: 0 also when the goal is missed, for
/// that is for the reader of the table to judge.
int routeBenchmark(int argc, char** argv, RouteSubject const& subject, RouteOptions options,
                   PrepareFor const& prepareFor);

}  // namespace VelmSdkRpc::Bench
