// How long an event takes to the client that watches, from just before the call that causes it, while the server is
// idle and while another client programs routes without pause.

#include <fmt/format.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "bench/Audience.h"
#include "bench/Percentiles.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/RouteLoad.h"
#include "bench/Routes.h"
#include "bench/Server.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goalIdle = 1;  // milliseconds, of the 99th percentile
constexpr double goalProgramming = 10;

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   std::size_t events = 1'000;  // from each server in each round
   std::size_t rounds = 5;
   std::size_t outstanding = 4;
};

/// A server and what has been measured of it under the present load.
struct Contender {
   Contender(char const* name, std::string const& program, std::vector<std::string> arguments)
      : server(name, program, std::move(arguments)), audience(server, 1, 1) {}

   Server server;
   Audience audience;
   std::vector<double> answered{};
   std::vector<double> heard{};
   double routes = 0;  // a second, summed over the rounds
};

void measure(Contender& contender, bool programming, Options const& options) {
   std::optional<RouteLoad> load;
   if (programming) load.emplace(contender.server, options.outstanding);
   for (std::size_t i = 0; i < options.events; ++i) {
      auto const delay = contender.audience.change();
      contender.answered.push_back(delay.answered);
      contender.heard.push_back(delay.heard);
   }
   if (load) contender.routes += load->stop();
}

void compare(std::deque<Contender>& contenders, bool programming, Options const& options, Report& report) {
   for (auto& contender : contenders) {
      contender.audience.change();  // to warm up
      contender.answered.clear();
      contender.heard.clear();
      contender.routes = 0;
   }
   for (std::size_t round = 0; round < options.rounds; ++round) {
      for (auto& contender : contenders) measure(contender, programming, options);
   }
   auto const floor = percentilesOf(contenders.front().heard);
   for (auto const& contender : contenders) {
      auto const answered = percentilesOf(contender.answered);
      auto const heard = percentilesOf(contender.heard);
      report.row({programming ? "programming" : "idle", contender.server.name(),
                  contender.routes / static_cast<double>(options.rounds), answered.p50, answered.p99, heard.p50,
                  heard.p99, heard.max, floor.p50 / heard.p50, floor.p99 / heard.p99});
      if (&contender == &contenders.front()) continue;
      report.claim(
         {.what = programming ? "an event while another client programs, p99" : "an event of an idle agent, p99",
          .figure = heard.p99,
          .unit = "ms",
          .ratio = one(floor.p99 / heard.p99),
          .mostFigure = programming ? goalProgramming : goalIdle});
   }
}

void run(Options const& options) {
   Report report("watch_latency",
                 fmt::format("from just before a call to the event that it causes, {} events from each server, one at "
                             "a time, in {} rounds",
                             options.events * options.rounds, options.rounds),
                 {{"load", "load"},
                  {"server", "server"},
                  {"routes_per_second", "routes/s"},
                  {"answer_p50_ms", "answer p50 ms", 3},
                  {"answer_p99_ms", "p99 ms", 3},
                  {"event_p50_ms", "event p50 ms", 3},
                  {"event_p99_ms", "p99 ms", 3},
                  {"event_max_ms", "max ms", 3},
                  {"p50_of_floor", "floor p50/p50", 2},
                  {"p99_of_floor", "floor p99/p99", 2}});
   report.fact("events", static_cast<double>(options.events * options.rounds));
   report.fact("outstanding", static_cast<double>(options.outstanding));
   report.fact("goal_idle_p99_ms", goalIdle);
   report.fact("goal_programming_p99_ms", goalProgramming);
   report.note(
      "The floor writes the event in the handler of the call, in front of the answer. Programming is bulks of");
   report.note(
      fmt::format("a thousand route adds and deletes by another client, {} outstanding.", options.outstanding));
   report.note(
      fmt::format("Goal: p99 {:.0f} ms idle, {:.0f} ms while another client programs.", goalIdle, goalProgramming));
   std::deque<Contender> contenders;
   contenders.emplace_back("floor", options.floor, std::vector<std::string>());
   contenders.emplace_back("agent", options.agent, quietly());
   openSession(contenders.back().server);
   for (bool const programming : {false, true}) compare(contenders, programming, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("watch_latency", "Measures how long an event takes to a client that watches.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--events", options.events, "Events from each server in each round")
      .count("--rounds", options.rounds, "Rounds")
      .count("--outstanding", options.outstanding, "Programming calls in flight");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
