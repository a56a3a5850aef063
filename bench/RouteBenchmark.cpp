#include "bench/RouteBenchmark.h"

#include <fmt/format.h>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/Program.h"
#include "bench/Report.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options : ContestOptions {
   std::size_t routes = 1'000'000;  // in the agent's table while it is measured
};

void compareAll(Contest& contest, double goal, Options const& options, Report& report) {
   contest.warmUp();
   auto const adds = static_cast<double>(options.adds);
   for (auto const order : options.orders) {
      auto const samples = contest.compare(order);
      for (std::size_t i = 0; i < contest.contenders(); ++i) {
         auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
         auto const cpu = ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds);
         auto const rate = adds / medianOf(samples[i], &Sample::seconds);
         report.row({nameOf(order), contest.nameOf(i), rate, speed.median, speed.low, speed.high,
                     medianOf(samples[i], &Sample::cpuSeconds) / adds * 1e6, cpu.median});
         if (i == 0) continue;
         report.claim({.what = fmt::format("{} adds, {}", nameOf(order), contest.nameOf(i)),
                       .figure = rate,
                       .unit = "adds/s",
                       .ratio = speed,
                       .leastRatio = i == 1 ? std::optional(goal) : std::nullopt});
      }
   }
}

void run(RouteBenchmark const& benchmark, Options const& options, Subject const& subject) {
   Report report(benchmark.name,
                 fmt::format("adds beside {} routes, {}, {} outstanding; {} rounds of {} adds to each server in turn",
                             options.routes, benchmark.call, options.outstanding, options.rounds, options.adds),
                 {{"order", "order"},
                  {"server", "server"},
                  {"adds_per_second", "adds/s"},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2},
                  {"cpu_us_per_add", "CPU us/add", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 2}});
   report.fact("routes", static_cast<double>(options.routes));
   addContestFacts(report, options);
   report.fact("goal", benchmark.goal);
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own: it tells servers apart also where the client is what holds both back.");
   report.note(fmt::format("Goal: agent {:.2f} of floor.", benchmark.goal));
   Contest contest(subject, options);
   contest.enterFloor(options.routes);
   contest.enterAgent("agent", quietly(), options.routes);
   contest.enterAgent("agent, trace 1", {}, options.routes);
   compareAll(contest, benchmark.goal, options, report);
   report.publish(options.json);
}

}  // namespace

int routeBenchmark(int argc, char** argv, RouteBenchmark const& benchmark, ContestOptions defaults,
                   Subject const& subject) {
   Options options{std::move(defaults)};
   Program program(benchmark.name, fmt::format("Compares the agent with a floor: {}.", benchmark.call));
   addContestOptions(program, options);
   program.count("--routes", options.routes, "Routes in the agent's table");
   program.app().get_option("--adds")->description("Adds to each server in each round, at most --routes");
   return program.main(argc, argv, [&] {
      if (options.adds > options.routes) throw std::invalid_argument("--adds exceeds --routes");
      run(benchmark, options, subject);
   });
}

}  // namespace VelmSdkRpc::Bench
