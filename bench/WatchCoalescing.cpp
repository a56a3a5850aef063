// A million events over a thousand interfaces, as fast as the switch's command line raises them: how many a second, and
// how many messages the watcher gets for them.

#include <fmt/format.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Client.h"
#include "bench/Loopbacks.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string json;
   std::size_t events = 1'000'000;  // in each round
   std::size_t keys = 1'000;
   std::size_t rounds = 3;

   // How often each call changes each key.
   std::vector<std::size_t> repeats{1, 10};
};

/// What the watcher knows of every key.
class Picture {
 public:
   Picture(std::size_t keys, std::string final) : states_(keys), final_(std::move(final)) {}

   void add(Watch::Event const& event) {
      auto const key = Loopbacks::described(event);
      if (!key) return;
      ++messages_;
      auto& state = states_.at(*key);
      if (state == final_) throw std::runtime_error("an event behind the last: " + event.ShortDebugString());
      state = event.description();
      if (state == final_) ++complete_;
   }
   bool complete() const { return complete_ == states_.size(); }
   std::size_t messages() const { return messages_; }

 private:
   std::vector<std::string> states_;
   std::string const final_;
   std::size_t complete_ = 0;
   std::size_t messages_ = 0;
};

/// The agent, watched or not.
struct Contender {
   Contender(char const* name, bool watched, Options const& options)
      : server(name, options.agent, quietly()), loopbacks(client, server, options.keys), watched(watched) {}

   Server server;
   Client client;
   Loopbacks loopbacks;
   bool const watched;
   std::size_t turn = 1;            // the next one
   std::vector<double> messages{};  // by round
   std::vector<double> lateness{};  // from the last answer to the last event, in milliseconds
};

std::size_t callsOf(Options const& options, std::size_t repeats) {
   auto const perCall = options.keys * repeats;
   return (options.events + perCall - 1) / perCall;
}

Sample measure(Contender& contender, Options const& options, std::size_t repeats) {
   using Clock = std::chrono::steady_clock;
   auto const calls = callsOf(options, repeats);
   auto& turn = contender.turn;
   Picture picture(options.keys, Loopbacks::descriptionOf(turn + calls * repeats - 1));
   std::unique_ptr<Watch> watch;
   if (contender.watched) {
      watch = std::make_unique<Watch>(contender.client, contender.server.newChannel(),
                                      [&](Watch::Event const& event) { picture.add(event); });
   }
   auto const cpuBefore = contender.server.cpuSeconds();
   auto const begin = Clock::now();
   for (std::size_t i = 0; i < calls; ++i, turn += repeats) contender.loopbacks.describe(turn, repeats);
   auto const answered = Clock::now();
   if (contender.watched) contender.client.runUntil([&] { return picture.complete(); });
   auto const end = Clock::now();
   contender.messages.push_back(static_cast<double>(picture.messages()));
   contender.lateness.push_back(std::chrono::duration<double, std::milli>(end - answered).count());
   return {std::chrono::duration<double>(end - begin).count(), contender.server.cpuSeconds() - cpuBefore};
}

using Contenders = std::vector<std::unique_ptr<Contender>>;

void compare(Contenders const& contenders, Options const& options, std::size_t repeats, Report& report) {
   for (auto const& contender : contenders) {
      contender->messages.clear();
      contender->lateness.clear();
   }
   auto const samples = interleave(contenders.size(), options.rounds, [&](std::size_t contender, std::size_t) {
      return measure(*contenders[contender], options, repeats);
   });
   auto const perCall = options.keys * repeats;
   auto const events = static_cast<double>(callsOf(options, repeats) * perCall);
   for (std::size_t i = 0; i < contenders.size(); ++i) {
      auto const seconds = medianOf(samples[i], &Sample::seconds);
      auto const messages = median(contenders[i]->messages);
      report.row({static_cast<double>(perCall), contenders[i]->server.name(), events / seconds,
                  ratioOfPairs(samples[0], samples[i], &Sample::seconds).median, messages, messages / seconds,
                  contenders[i]->watched ? (1 - messages / events) * 100 : 0, median(contenders[i]->lateness),
                  medianOf(samples[i], &Sample::cpuSeconds) / events * 1e6});
   }
}

void run(Options const& options) {
   Report report("watch_coalescing",
                 fmt::format("{} changes of {} interfaces by the command line; medians of {} rounds", options.events,
                             options.keys, options.rounds),
                 {{"changes_per_call", "changes/call"},
                  {"server", "server"},
                  {"events_per_second", "events/s"},
                  {"of_unwatched", "of unwatched", 2},
                  {"messages", "messages"},
                  {"messages_per_second", "messages/s"},
                  {"coalesced_percent", "coalesced %", 1},
                  {"last_ms", "last event ms", 2},
                  {"cpu_us_per_event", "CPU us/event", 2}});
   report.fact("events", static_cast<double>(options.events));
   report.fact("keys", static_cast<double>(options.keys));
   report.note(
      "Until the last state of every key has arrived, which is checked; \"last event\" is when it did, from the");
   report.note("answer to the last call. A call changes the keys in turn. Unwatched, no event is raised.");
   Contenders contenders;
   contenders.push_back(std::make_unique<Contender>("agent, unwatched", false, options));
   contenders.push_back(std::make_unique<Contender>("agent, one watcher", true, options));
   for (auto const repeats : options.repeats) compare(contenders, options, repeats, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("watch_coalescing",
                          "Measures what a storm of events costs, and how many messages it becomes.");
   program.agent(options.agent)
      .json(options.json)
      .count("--events", options.events, "Events in each round, rounded up to whole calls")
      .count("--keys", options.keys, "Interfaces that they are of")
      .count("--repeats", options.repeats, "How often each call changes each interface; repeatable")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
