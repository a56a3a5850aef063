// How long one event takes to a hundred clients that watch, until the last of them has it.

#include <fmt/format.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "bench/Audience.h"
#include "bench/Percentiles.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   std::size_t watchers = 100;
   std::size_t connections = 4;
   std::size_t events = 200;  // from each server in each round
   std::size_t rounds = 5;
};

struct Contender {
   Contender(char const* name, std::string const& program, std::vector<std::string> arguments, Options const& options)
      : server(name, program, std::move(arguments)), audience(server, options.watchers, options.connections) {}

   Server server;
   Audience audience;
   std::vector<double> milliseconds{};
};

Sample measure(Contender& contender, std::size_t events) {
   Sample sample;
   auto const cpuBefore = contender.server.cpuSeconds();
   for (std::size_t i = 0; i < events; ++i) {
      contender.milliseconds.push_back(contender.audience.change().heard);
      sample.seconds += contender.milliseconds.back() / 1e3;
   }
   sample.cpuSeconds = contender.server.cpuSeconds() - cpuBefore;
   return sample;
}

void compare(std::deque<Contender>& contenders, Options const& options, Report& report) {
   for (auto& contender : contenders) contender.audience.change();  // to warm up
   auto const samples = interleave(contenders.size(), options.rounds, [&](std::size_t contender, std::size_t) {
      return measure(contenders[contender], options.events);
   });
   auto const messages = static_cast<double>(options.events * options.watchers);
   for (std::size_t i = 0; i < contenders.size(); ++i) {
      auto const heard = percentilesOf(contenders[i].milliseconds);
      auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
      report.row({contenders[i].server.name(), heard.p50, heard.p99, heard.max,
                  heard.p50 / static_cast<double>(options.watchers) * 1e3, speed.median, speed.low, speed.high,
                  medianOf(samples[i], &Sample::cpuSeconds) / messages * 1e6,
                  ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds).median});
      if (i == 0) continue;
      report.claim({.what = fmt::format("one event to {} watchers, p50", options.watchers),
                    .figure = heard.p50,
                    .unit = "ms",
                    .ratio = speed});
   }
}

void run(Options const& options) {
   Report report("watch_fan_out",
                 fmt::format("from just before a call until {} watchers on {} connections have the event that it "
                             "causes, {} events from each server in {} rounds",
                             options.watchers, options.connections, options.events * options.rounds, options.rounds),
                 {{"server", "server"},
                  {"p50_ms", "p50 ms", 3},
                  {"p99_ms", "p99 ms", 3},
                  {"max_ms", "max ms", 3},
                  {"us_per_watcher", "p50 us/watcher", 2},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2},
                  {"cpu_us_per_message", "CPU us/message", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 2}});
   report.fact("watchers", static_cast<double>(options.watchers));
   report.fact("connections", static_cast<double>(options.connections));
   report.fact("events", static_cast<double>(options.events * options.rounds));
   report.note(
      "The floor writes the event in the handler of the call. \"of floor\" is the median of the speeds' ratios");
   report.note(
      "in pairs, with the lowest and the highest. CPU is the server's own; one thread reads for all watchers.");
   std::deque<Contender> contenders;
   contenders.emplace_back("floor", options.floor, std::vector<std::string>(), options);
   contenders.emplace_back("agent", options.agent, quietly(), options);
   compare(contenders, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("watch_fan_out", "Measures how long one event takes to many clients that watch.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--watchers", options.watchers, "Watches")
      .count("--connections", options.connections, "Connections that share them")
      .count("--events", options.events, "Events from each server in each round")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
