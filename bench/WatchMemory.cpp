// What a client that watches and never reads costs the agent in memory, and whether it is given back once the client
// has gone.

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Client.h"
#include "bench/Loopbacks.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Server.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string json;
   std::size_t events = 200'000;  // while a reader is stuck
   std::size_t keys = 1'000;
   std::size_t rounds = 5;
};

/// An agent with a client that reads every event.
class Scene {
 public:
   explicit Scene(Options const& options)
      : agent("agent", options.agent, quietly()),
        turns_((options.events + options.keys - 1) / options.keys),
        loopbacks_(client, agent, options.keys) {
      publish();  // the tables grow before they are measured
   }

   /// Publishes so many events, none of which coalesces: one of each key, and the next only when the reader has them
   /// all. Throws std::runtime_error if it does not get them.
   std::size_t publish() {
      for (std::size_t i = 0; i < turns_; ++i) publishTurn();
      return turns_ * loopbacks_.count();
   }
   void publishTurn() {
      expected_ += loopbacks_.count();
      loopbacks_.describe(++turn_);
      client.runUntil([this] { return read_ == expected_; });
   }

   Server agent;
   Client client;

 private:
   std::size_t const turns_;
   Loopbacks loopbacks_;
   std::size_t turn_ = 0;
   std::size_t expected_ = 0;
   std::size_t read_ = 0;
   IntfWatch reader_{client, agent.newChannel(), [this](IntfWatch::Event const& event) {
                        if (Loopbacks::described(event)) ++read_;
                     }};
};

// What the agent has resident once that has stopped falling: it frees on its own time.
double settledBytes(Server const& agent) {
   auto bytes = agent.residentBytes();
   for (int quiet = 0; quiet < 5; ++quiet) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      auto const now = agent.residentBytes();
      if (now < bytes) quiet = 0;
      bytes = now;
   }
   return bytes;
}

std::vector<Report::Cell> measure(Scene& scene, std::size_t round) {
   constexpr double mebibyte = 1024.0 * 1024.0;
   auto const before = settledBytes(scene.agent);
   auto stuck = std::make_unique<IntfWatch>(scene.client, scene.agent.newNarrowChannel(), IntfWatch::Take());
   auto const queued = static_cast<double>(scene.publish());
   auto const full = settledBytes(scene.agent);
   stuck.reset();
   auto const cancelled = settledBytes(scene.agent);
   scene.publishTurn();
   auto const after = settledBytes(scene.agent);
   return {
      static_cast<double>(round + 1), queued,          before / mebibyte, full / mebibyte, (full - before) / queued,
      cancelled / mebibyte,           after / mebibyte};
}

void run(Options const& options) {
   Report report("watch_memory",
                 fmt::format("resident memory of the agent while {} events of {} interfaces are published to a client "
                             "that reads nothing",
                             options.events, options.keys),
                 {{"round", "round"},
                  {"events", "events"},
                  {"mib_before", "MiB before", 1},
                  {"mib_stuck", "stuck", 1},
                  {"bytes_per_event", "growth bytes/event", 1},
                  {"mib_cancelled", "MiB cancelled", 1},
                  {"mib_next_events", "next events", 1}});
   report.fact("event_count", static_cast<double>(options.events));
   report.note(
      "No event coalesces, and another client gets every one of them meanwhile, which is checked. A few of the");
   report.note(
      "events are on their way to the client rather than queued. The allocator may keep what was freed, for the");
   report.note("next round, which then does not grow.");
   Scene scene(options);
   double most = 0;
   for (std::size_t round = 0; round < options.rounds; ++round) {
      auto row = measure(scene, round);
      most = std::max(most, std::get<double>(row[4]));
      report.row(std::move(row));
   }
   // The first round's, in general: the next find the memory that the allocator has kept.
   report.claim({.what = "an event queued for a client that does not read", .figure = most, .unit = "bytes"});
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("watch_memory", "Measures what a client that does not read its events costs the agent.");
   program.agent(options.agent)
      .json(options.json)
      .count("--events", options.events, "Events while the client is stuck, rounded up to whole calls")
      .count("--keys", options.keys, "Interfaces that they are of")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
