#include "bench/SizeBenchmark.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "bench/Program.h"
#include "bench/Report.h"

namespace VelmSdkRpc::Bench {
namespace {

using Options = SizeOptions;

// The floor is the first contender, the agent with the smallest table the second.
void compareAll(Contest& contest, std::optional<double> goal, Options const& options, Report& report) {
   contest.warmUp();
   auto const adds = static_cast<double>(options.adds);
   for (auto const order : options.orders) {
      auto const samples = contest.compare(order);
      auto const& floor = samples[0];
      auto const& smallest = samples[1];
      for (std::size_t i = 1; i < contest.contenders(); ++i) {
         auto const& agent = samples[i];
         auto const speed = ratioOfPairs(floor, agent, &Sample::seconds);
         auto const growth = ratioOfPairs(smallest, agent, &Sample::seconds);
         report.row({nameOf(order), static_cast<double>(contest.sizeOf(i)), adds / medianOf(floor, &Sample::seconds),
                     adds / medianOf(agent, &Sample::seconds), speed.median, speed.low, speed.high,
                     medianOf(agent, &Sample::cpuSeconds) / adds * 1e6,
                     ratioOfPairs(floor, agent, &Sample::cpuSeconds).median, growth.median, growth.low, growth.high,
                     ratioOfPairs(smallest, agent, &Sample::cpuSeconds).median});
         Report::Claim claim{.what = fmt::format("{} adds beside {}", nameOf(order), contest.sizeOf(i)),
                             .figure = adds / medianOf(agent, &Sample::seconds),
                             .unit = "adds/s",
                             .ratio = speed};
         report.claim(claim);
         if (i == 1) continue;
         claim.ratio = growth;
         claim.ratioTo = fmt::format("table of {}", contest.sizeOf(1));
         claim.leastRatio = goal;
         report.claim(std::move(claim));
      }
   }
}

void run(SizeBenchmark const& benchmark, Options const& options, Subject const& subject) {
   Report report(
      benchmark.name,
      fmt::format("adds of {} beside tables of {}, {} to a call, {} outstanding; {} rounds of {} adds to each server",
                  subject.name(), fmt::join(options.sizes, ", "), bulkSize, options.outstanding, options.rounds,
                  options.adds),
      {{"order", "order"},
       {"size", "size"},
       {"floor_adds_per_second", "floor adds/s"},
       {"adds_per_second", "adds/s"},
       {"of_floor", "of floor", 2},
       {"of_floor_low", "low", 2},
       {"of_floor_high", "high", 2},
       {"cpu_us_per_add", "CPU us/add", 2},
       {"cpu_of_floor", "floor CPU/CPU", 2},
       {"of_smallest", "of smallest", 2},
       {"of_smallest_low", "low", 2},
       {"of_smallest_high", "high", 2},
       {"cpu_of_smallest", "smallest CPU/CPU", 2}});
   addContestFacts(report, options);
   if (benchmark.goal) report.fact("goal_of_smallest", *benchmark.goal);
   report.note(
      "Medians; \"of floor\" and \"of smallest\" are those of the speeds' ratios in pairs to the floor and to the");
   report.note("agent with the smallest table, with the lowest and the highest. CPU is the server's own.");
   if (benchmark.goal) report.note(fmt::format("Goal: agent {:.2f} of smallest.", *benchmark.goal));
   Contest contest(subject, options);
   contest.enterFloor(options.sizes.back());
   for (auto const size : options.sizes) contest.enterAgent("agent", quietly(), size);
   compareAll(contest, benchmark.goal, options, report);
   report.publish(options.json);
}

}  // namespace

int sizeBenchmark(int argc, char** argv, SizeBenchmark const& benchmark, SizeOptions options, Subject const& subject,
                  std::function<void(CLI::App&)> const& addOptions) {
   Program program(benchmark.name, "Compares agents with small and large tables with a floor.");
   addContestOptions(program, options);
   program.count("--size", options.sizes, "Entries in an agent's table; repeatable, one agent for each");
   if (addOptions) addOptions(program.app());
   return program.main(argc, argv, [&] {
      std::ranges::sort(options.sizes);
      run(benchmark, options, subject);
   });
}

}  // namespace VelmSdkRpc::Bench
