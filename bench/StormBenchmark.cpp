#include "bench/StormBenchmark.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"

namespace VelmSdkRpc::Bench {
namespace {

/// The agent, watched or not.
struct Contender {
   Contender(char const* name, bool watched, StormBenchmark const& benchmark, StormOptions const& options)
      : server(name, options.agent, quietly()),
        storm(benchmark.make(client, server, options.keys)),
        watched(watched),
        next(options.keys) {}

   Server server;
   Client client;
   std::unique_ptr<Storm> storm;
   bool const watched;
   std::size_t next;                // change
   std::vector<double> messages{};  // by round
   std::vector<double> lateness{};  // from the last answer to the last message, in milliseconds
};

// Whole turns, so that all keys have changed equally often.
std::size_t changesOf(StormOptions const& options) {
   return (options.events + options.keys - 1) / options.keys * options.keys;
}

Sample measure(Contender& contender, StormOptions const& options, std::size_t list) {
   using Clock = Storm::Clock;
   auto& storm = *contender.storm;
   auto& next = contender.next;
   auto const end = next + changesOf(options);
   if (contender.watched) storm.listen(end);
   auto const cpuBefore = contender.server.cpuSeconds();
   auto const begin = Clock::now();
   while (next < end) {
      auto const changes = std::min(list, end - next);
      storm.change(next, changes);
      next += changes;
   }
   Storm::Heard heard{.messages = 0, .last = Clock::now()};
   auto const answered = heard.last;
   if (contender.watched) heard = storm.hearOut();
   contender.messages.push_back(static_cast<double>(heard.messages));
   contender.lateness.push_back(std::chrono::duration<double, std::milli>(heard.last - answered).count());
   return {std::chrono::duration<double>(std::max(heard.last, answered) - begin).count(),
           contender.server.cpuSeconds() - cpuBefore};
}

using Contenders = std::vector<std::unique_ptr<Contender>>;

void compare(Contenders const& contenders, StormOptions const& options, std::size_t list, Report& report) {
   for (auto const& contender : contenders) {
      contender->messages.clear();
      contender->lateness.clear();
   }
   auto const samples = interleave(contenders.size(), options.rounds, [&](std::size_t contender, std::size_t) {
      return measure(*contenders[contender], options, list);
   });
   auto const events = static_cast<double>(changesOf(options));
   for (std::size_t i = 0; i < contenders.size(); ++i) {
      auto const seconds = medianOf(samples[i], &Sample::seconds);
      auto const messages = median(contenders[i]->messages);
      auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
      report.row({static_cast<double>(list), contenders[i]->server.name(), events / seconds, speed.median, messages,
                  messages / seconds, contenders[i]->watched ? (1 - messages / events) * 100 : 0,
                  median(contenders[i]->lateness), medianOf(samples[i], &Sample::cpuSeconds) / events * 1e6});
      if (!contenders[i]->watched) continue;
      report.claim({.what = fmt::format("events of {} keys with a watcher, {} to a call", options.keys, list),
                    .figure = events / seconds,
                    .unit = "events/s",
                    .ratio = speed,
                    .ratioTo = "unwatched"});
   }
}

void run(StormBenchmark const& benchmark, StormOptions const& options) {
   Report report(benchmark.name,
                 fmt::format("{} changes of {} {} by the command line; medians of {} rounds", changesOf(options),
                             options.keys, benchmark.keys, options.rounds),
                 {{"changes_per_call", "changes/call"},
                  {"server", "server"},
                  {"events_per_second", "events/s"},
                  {"of_unwatched", "of unwatched", 2},
                  {"messages", "messages"},
                  {"messages_per_second", "messages/s"},
                  {"coalesced_percent", "coalesced %", 1},
                  {"last_ms", "last event ms", 2},
                  {"cpu_us_per_event", "CPU us/event", 2}});
   report.fact("events", static_cast<double>(changesOf(options)));
   report.fact("keys", static_cast<double>(options.keys));
   report.note("Until the last event of every key has arrived; \"last event\" is when it did, from the answer to");
   report.note("the last call. The calls change the keys in turn. Unwatched, no event is raised.");
   Contenders contenders;
   contenders.push_back(std::make_unique<Contender>("agent, unwatched", false, benchmark, options));
   contenders.push_back(std::make_unique<Contender>("agent, one watcher", true, benchmark, options));
   for (auto const list : options.lists) compare(contenders, options, list, report);
   report.publish(options.json);
}

}  // namespace

int stormBenchmark(int argc, char** argv, StormBenchmark const& benchmark, StormOptions options) {
   Program program(benchmark.name, "Measures what a storm of events costs, and how many messages it becomes.");
   program.agent(options.agent)
      .json(options.json)
      .count("--events", options.events, "Events in each round, rounded up to whole turns of all keys")
      .count("--keys", options.keys, fmt::format("How many {} they are of", benchmark.keys))
      .count("--list", options.lists, "Changes in each call; repeatable")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { run(benchmark, options); });
}

}  // namespace VelmSdkRpc::Bench
