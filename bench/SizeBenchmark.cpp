#include "bench/SizeBenchmark.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goal = 0.8;

struct Options : ContestOptions {
   std::vector<std::size_t> sizes{10'000, 1'000'000};
};

// The floor is the first contender, the agent with the smallest table the second.
void compareAll(Contest& contest, Options const& options, Report& report) {
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
      }
   }
}

void run(char const* name, Options const& options, Subject const& subject) {
   Report report(
      name,
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
   report.fact("goal_of_smallest", goal);
   report.note(
      "Medians; \"of floor\" and \"of smallest\" are those of the speeds' ratios in pairs to the floor and to the");
   report.note("agent with the smallest table, with the lowest and the highest. CPU is the server's own.");
   report.note(fmt::format("Goal: agent {:.2f} of smallest.", goal));
   Contest contest(subject, options);
   contest.enterFloor(options.sizes.back());
   for (auto const size : options.sizes) contest.enterAgent("agent", quietly(), size);
   compareAll(contest, options, report);
   report.publish(options.json);
}

}  // namespace

int sizeBenchmark(int argc, char** argv, char const* name, ContestOptions const& defaults, Subject const& subject,
                  std::function<void(CLI::App&)> const& addOptions) {
   Options options{defaults};
   Program program(name, "Compares agents with small and large tables with a floor.");
   addContestOptions(program, options);
   program.count("--size", options.sizes, "Entries in an agent's table; repeatable, one agent for each");
   if (addOptions) addOptions(program.app());
   return program.main(argc, argv, [&] {
      std::ranges::sort(options.sizes);
      run(name, options, subject);
   });
}

}  // namespace VelmSdkRpc::Bench
