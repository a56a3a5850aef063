// Streams of a table of a million entries, by the agent and by the floor. The client reads with the library's plain
// reader and not with AsyncStream: it has one stream, and is to cost the same for all servers. What came is checked by
// its number and its last element, since a stream that ends early would look fast.

#include <fmt/format.h>

#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Program.h"
#include "proto/remote/agent.grpc.pb.h"
#include "proto/remote/ip_route.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;

constexpr double goal = 0.8;

struct Options {
   Builds builds;
   std::size_t elements = 1'000'000;  // in each table
   std::size_t rounds = 7;
};

/// A table that a mirror streams: how it is filled, and what is to come for the entry at a place.
struct Statuses {
   using Service = remote::AgentService;
   static constexpr auto name = "statuses";
   static constexpr auto kind = mirrorStatuses;
   static constexpr auto stream = &Service::Stub::statuses;
   static constexpr auto streamed = streamedStatus;
};
struct Routes {
   using Service = remote::IpRouteMgrService;
   static constexpr auto name = "ip_routes";
   static constexpr auto kind = mirrorRoutes;
   static constexpr auto stream = &Service::Stub::ip_routes;
   static constexpr auto streamed = streamedRoute;
};

// Reads all elements, and checks that there are as many as there should be and which the last one is.
template <class Table>
void readAll(Server const& server, std::size_t count) {
   auto const stub = Table::Service::NewStub(server.channel());
   auto const last = Table::streamed(static_cast<Place>(count - 1));
   auto element = Table::streamed(0);
   std::size_t read = 0;
   grpc::ClientContext context;
   auto const reader = ((*stub).*Table::stream)(&context, {});
   while (reader->Read(&element)) ++read;
   auto const status = reader->Finish();
   if (!status.ok() || read != count || element.SerializeAsString() != last.SerializeAsString()) {
      throw std::runtime_error(fmt::format("{} of {} {} came, the last one {}: {}", read, count, Table::name,
                                           element.ShortDebugString(), status.error_message()));
   }
}

template <class Table>
void compare(Options const& options, Report& report) {
   auto const& [agent, floor, against] = options.builds;
   std::deque<Server> servers;
   std::vector<std::string> names;
   auto const enter = [&](char const* name, std::string const& program) {
      names.emplace_back(name);
      servers.emplace_back(program, quietly());
      add(servers.back(), Table::kind(), firstPlaces(options.elements));
   };
   enter("agent", agent);
   if (!against.empty()) enter("the other build", against);
   if (!floor.empty()) {
      names.emplace_back("floor");
      servers.emplace_back(floor, std::vector<std::string>{"--elements", std::to_string(options.elements)});
   }
   auto const measure = [&](std::size_t server, std::size_t) {
      return timed(servers[server], [&] { readAll<Table>(servers[server], options.elements); });
   };
   interleave(servers.size(), 1, measure);  // to warm up
   auto const samples = interleave(servers.size(), options.rounds, measure);
   auto const elements = static_cast<double>(options.elements);
   auto const rateOf = [&](auto const& some) { return elements / median(each(some, &Sample::seconds)); };
   auto const cpuOf = [&](auto const& some) { return median(each(some, &Sample::cpuSeconds)) / elements * 1e6; };
   for (std::size_t i = 1; i < servers.size(); ++i) {
      Report::Row row{.what = fmt::format("a stream of {} {}", options.elements, Table::name),
                      .figure = rateOf(samples[0]),
                      .unit = "elements/s",
                      .ratio = {{ratioOfPairs(samples[i], samples[0], &Sample::seconds), names[i]}},
                      .beside = {{"CPU us", cpuOf(samples[0])},
                                 {"other's /s", rateOf(samples[i])},
                                 {"other's CPU us", cpuOf(samples[i])},
                                 {"CPU ratio", ratioOfPairs(samples[i], samples[0], &Sample::cpuSeconds).median}}};
      if (names[i] == "floor") row.leastRatio = goal;
      report.row(std::move(row));
   }
}

Report run(Options const& options) {
   Report report("iterator", fmt::format("streams of {} elements, one Write after the other, {} rounds",
                                         options.elements, options.rounds));
   compare<Statuses>(options, report);
   compare<Routes>(options, report);
   return report;
}

}  // namespace

void addIterator(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "iterator", "Streams of long tables", [=] { return run(*options); });
   addBuilds(command, options->builds);
   addCount(command, "--elements", options->elements, "Entries of each table");
   addCount(command, "--rounds", options->rounds, "Rounds");
}

}  // namespace VelmSdkRpc::Bench
