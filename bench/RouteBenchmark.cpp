#include "bench/RouteBenchmark.h"

#include <fmt/format.h>

#include <chrono>
#include <deque>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"

namespace VelmSdkRpc::Bench {
namespace {

// A server and what drives it. The floor keeps no routes: nothing is loaded into it and nothing is taken out again.
struct Contender {
   Contender(char const* name, std::string const& program, std::vector<std::string> arguments, bool keepsRoutes)
      : server(name, program, std::move(arguments)), keepsRoutes(keepsRoutes) {}

   Server server;
   bool const keepsRoutes;
   Prepare prepare;
};
using Contenders = std::deque<Contender>;  // the floor first

void start(Contenders& contenders, RouteOptions const& options, PrepareFor const& prepareFor) {
   contenders.emplace_back("floor", options.floor, std::vector<std::string>(), false);
   contenders.emplace_back("agent", options.agent, quietly(), true);
   contenders.emplace_back("agent, trace 1", options.agent, std::vector<std::string>(), true);
   auto const table = tableOf(options.routes);
   for (auto& contender : contenders) {
      contender.prepare = prepareFor(contender.server, options);
      if (!contender.keepsRoutes) continue;
      openSession(contender.server);
      program(contender.server, table);
   }
}

Sample measure(Contender& contender, Order order, Adds const& adds) {
   using Clock = std::chrono::steady_clock;
   auto const calls = contender.prepare(adds);
   auto const cpuBefore = contender.server.cpuSeconds();
   auto const start = Clock::now();
   calls();
   auto const end = Clock::now();
   auto const cpuAfter = contender.server.cpuSeconds();
   if (contender.keepsRoutes && order != Order::repeated) program(contender.server, deletionOf(adds));
   return {std::chrono::duration<double>(end - start).count(), cpuAfter - cpuBefore};
}

std::vector<std::vector<Sample>> compare(Contenders& contenders, Order order, RouteOptions const& options,
                                         std::size_t rounds) {
   return interleave(contenders.size(), rounds, [&](std::size_t server, std::size_t round) {
      return measure(contenders[server], order, addsOf(order, options.routes, options.adds, round));
   });
}

void compareAll(Contenders& contenders, RouteOptions const& options, Report& report) {
   compare(contenders, Order::ascending, options, 1);  // warms up
   auto const adds = static_cast<double>(options.adds);
   for (auto const order : options.orders) {
      auto const samples = compare(contenders, order, options, options.rounds);
      for (std::size_t i = 0; i < contenders.size(); ++i) {
         auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
         auto const cpu = ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds);
         report.row({nameOf(order), contenders[i].server.name(), adds / medianOf(samples[i], &Sample::seconds),
                     speed.median, speed.low, speed.high, medianOf(samples[i], &Sample::cpuSeconds) / adds * 1e6,
                     cpu.median});
      }
   }
}

void run(RouteSubject const& subject, RouteOptions const& options, PrepareFor const& prepareFor) {
   Report report(subject.name,
                 fmt::format("adds beside {} routes, {}, {} outstanding; {} rounds of {} adds to each server in turn",
                             options.routes, subject.call, options.outstanding, options.rounds, options.adds),
                 {{"order", "order"},
                  {"server", "server"},
                  {"adds_per_second", "adds/s"},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2},
                  {"cpu_us_per_add", "CPU us/add", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 2}});
   report.fact("routes", static_cast<double>(options.routes));
   report.fact("outstanding", static_cast<double>(options.outstanding));
   report.fact("rounds", static_cast<double>(options.rounds));
   report.fact("adds_per_round", static_cast<double>(options.adds));
   report.fact("goal", subject.goal);
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own: it tells servers apart also where the client is what holds both back.");
   report.note(fmt::format("Goal: agent {:.2f} of floor.", subject.goal));
   Contenders contenders;
   start(contenders, options, prepareFor);
   compareAll(contenders, options, report);
   report.publish(options.json);
}

}  // namespace

int routeBenchmark(int argc, char** argv, RouteSubject const& subject, RouteOptions options,
                   PrepareFor const& prepareFor) {
   std::map<std::string, Order> orders;
   for (auto const order : options.orders) orders.emplace(nameOf(order), order);
   auto const addOptions = [&](CLI::App& app) {
      app.add_option("--agent", options.agent, "The agent's program")->required();
      app.add_option("--floor", options.floor, "The floor's program")->required();
      app.add_option("--json", options.json, "File to leave the results in");
      app.add_option("--routes", options.routes, "Routes in the agent's table")->check(CLI::PositiveNumber);
      app.add_option("--order", options.orders, "Which prefixes are added; repeatable")
         ->transform(CLI::CheckedTransformer(orders))
         ->option_text("ascending|shuffled|repeated ...");
      app.add_option("--rounds", options.rounds, "Rounds")->check(CLI::PositiveNumber);
      app.add_option("--adds", options.adds, "Adds to each server in each round, at most --routes")
         ->check(CLI::PositiveNumber);
      app.add_option("--outstanding", options.outstanding, "Calls in flight")->check(CLI::PositiveNumber);
   };
   return benchmarkMain(argc, argv, subject.name, fmt::format("Compares the agent with a floor: {}.", subject.call),
                        addOptions, [&] {
                           if (options.adds > options.routes) throw std::invalid_argument("--adds exceeds --routes");
                           run(subject, options, prepareFor);
                        });
}

}  // namespace VelmSdkRpc::Bench
