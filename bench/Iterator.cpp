// Tables of a million entries, streamed by the agent and by the floor.

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/MirrorTables.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goal = 0.8;

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   std::vector<std::string> tables{MirrorStatuses::name(), MirrorIpRoutes::name()};
   std::size_t elements = 1'000'000;  // in each table
   std::size_t rounds = 7;
};

// Reads them all, and checks that there are as many as there should be and which the last one is.
template <class Table>
Sample readAll(Server& server, std::size_t count) {
   auto const stub = Table::Service::NewStub(server.channel());
   auto const last = Table::streamed(static_cast<Place>(count - 1));
   auto element = Table::streamed(0);
   std::size_t read = 0;
   auto const cpuBefore = server.cpuSeconds();
   auto const start = std::chrono::steady_clock::now();
   grpc::ClientContext context;
   auto const reader = ((*stub).*Table::stream)(&context, {});
   while (reader->Read(&element)) ++read;
   auto const status = reader->Finish();
   auto const end = std::chrono::steady_clock::now();
   if (!status.ok() || read != count || element.SerializeAsString() != last.SerializeAsString()) {
      throw std::runtime_error(fmt::format("{} sent {} of {} {}, the last one {}: {}", server.name(), read, count,
                                           Table::name(), element.ShortDebugString(), status.error_message()));
   }
   return {std::chrono::duration<double>(end - start).count(), server.cpuSeconds() - cpuBefore};
}

template <class Table>
void compare(Options const& options, Report& report) {
   if (std::ranges::find(options.tables, Table::name()) == options.tables.end()) return;
   std::vector<std::unique_ptr<Server>> servers;
   servers.push_back(std::make_unique<Server>(
      "floor", options.floor, std::vector<std::string>{"--elements", std::to_string(options.elements)}));
   servers.push_back(std::make_unique<Server>("agent", options.agent, quietly()));
   Table const table;
   BulkSubject<Table>(table).add(*servers[1], firstPlaces(options.elements));
   auto const measure = [&](std::size_t server, std::size_t) {
      return readAll<Table>(*servers[server], options.elements);
   };
   interleave(servers.size(), 1, measure);  // to warm up
   auto const samples = interleave(servers.size(), options.rounds, measure);
   auto const elements = static_cast<double>(options.elements);
   for (std::size_t i = 0; i < servers.size(); ++i) {
      auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
      auto const rate = elements / medianOf(samples[i], &Sample::seconds);
      report.row({Table::name(), servers[i]->name(), rate, speed.median, speed.low, speed.high,
                  medianOf(samples[i], &Sample::cpuSeconds) / elements * 1e6,
                  ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds).median});
      if (i == 0) continue;
      report.claim({.what = fmt::format("a stream of {} {}", options.elements, Table::name()),
                    .figure = rate,
                    .unit = "elements/s",
                    .ratio = speed,
                    .leastRatio = goal});
   }
}

void run(Options const& options) {
   Report report("iterator",
                 fmt::format("streams of {} elements, one Write behind the other; {} rounds of one stream from each "
                             "server in turn",
                             options.elements, options.rounds),
                 {{"table", "table"},
                  {"server", "server"},
                  {"elements_per_second", "elements/s"},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2},
                  {"cpu_us_per_element", "CPU us/element", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 2}});
   report.fact("elements", static_cast<double>(options.elements));
   report.fact("rounds", static_cast<double>(options.rounds));
   report.fact("goal", goal);
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own: it tells servers apart also where the client is what holds both back.");
   report.note(fmt::format("Goal: agent {:.2f} of floor.", goal));
   compare<MirrorStatuses>(options, report);
   compare<MirrorIpRoutes>(options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("iterator", "Compares the agent's streams of long tables with a floor.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--elements", options.elements, "Entries of each table")
      .count("--rounds", options.rounds, "Rounds");
   program.app()
      .add_option("--table", options.tables, "What is streamed; repeatable")
      ->check(CLI::IsMember(options.tables))
      ->option_text("statuses|ip_routes ...");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
