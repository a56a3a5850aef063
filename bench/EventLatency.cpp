// How long an event of the switch takes to its handler while another thread programs routes without pause.

#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <endian.h>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/Percentiles.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "clients/support/TempFolder.h"
#include "platform/switch/Switch.h"

namespace VelmSdkRpc::Bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double goalMilliseconds = 5;

struct Options {
   std::string json;
   std::size_t routes = 1'000'000;
   std::size_t events = 1'000;  // under each load in each round
   std::size_t rounds = 5;
};

/// Ends the switch's loop when it is asked to.
class Obedient : public velm::agent_handler {
 public:
   explicit Obedient(velm::agent_mgr& mgr) : agent_handler(&mgr), mgr_(mgr) {}
   void on_agent_enabled(bool enabled) override {
      if (!enabled) mgr_.shutdown_complete_is(true);
   }

 private:
   velm::agent_mgr& mgr_;
};

class Watcher : public velm::intf_handler {
 public:
   explicit Watcher(velm::intf_mgr& mgr) : intf_handler(&mgr) { watch_all_intfs(true); }
   void on_oper_status(velm::intf_id_t, velm::oper_status_t) override {
      auto const now = Clock::now();
      std::lock_guard const lock(mutex_);
      arrived_ = now;
      ++count_;
      arrival_.notify_one();
   }
   Clock::time_point await(std::size_t count) {
      std::unique_lock lock(mutex_);
      arrival_.wait(lock, [&] { return count_ >= count; });
      return arrived_;
   }

 private:
   std::mutex mutex_;  // guards all below
   std::condition_variable arrival_;
   Clock::time_point arrived_;
   std::size_t count_ = 0;
};

/// A switch whose loop turns in a thread of its own.
class RunningSwitch {
 public:
   explicit RunningSwitch(std::string const& folder) {
      if (!folder.empty()) device.stateIs(folder);
      loop_ = std::thread([this] { device.run(); });
   }
   ~RunningSwitch() {
      device.loop.disable();
      loop_.join();
   }
   RunningSwitch(RunningSwitch const&) = delete;
   RunningSwitch& operator=(RunningSwitch const&) = delete;

   velm::embedded::Switch device;

 private:
   Obedient obedient_{device.agent};
   std::thread loop_;
};

void program(velm::ip_route_mgr& routes, std::uint32_t number) {
   auto const address = htobe32(number);
   velm::ip_route_key_t const key(
      velm::ip_prefix_t(velm::ip_addr_t(velm::af_t::ipv4, reinterpret_cast<unsigned char const*>(&address)), 32));
   velm::ip_route_via_t via(key);
   via.nexthop_group_is("g");
   routes.ip_route_set(velm::ip_route_t(key));
   routes.ip_route_via_set(via);
}

/// A load and what has been measured under it.
struct Load {
   char const* name;
   bool stored;
   bool programming;
   std::vector<double> milliseconds{};
   double routes = 0;  // a second, summed over the rounds
};

void measure(Load& load, Options const& options) {
   TempFolder const folder;
   RunningSwitch running(load.stored ? folder.path() : std::string());
   auto& device = running.device;
   Watcher watcher(device.intfs);
   std::atomic<bool> over = false;
   std::atomic<std::size_t> programmed = 0;
   std::thread client;
   auto const begin = Clock::now();
   if (load.programming) {
      client = std::thread([&] {
         for (; !over; ++programmed)
            program(device.ipRoutes, static_cast<std::uint32_t>(programmed % options.routes) * 2654435761U);
      });
   }
   for (std::size_t i = 0; i < options.events; ++i) {
      auto const caused = Clock::now();
      {
         velm::sdk_scoped_lock const lock;
         device.intfs.linkIs(velm::intf_id_t("Ethernet1"),
                             i % 2 == 0 ? velm::oper_status_t::down : velm::oper_status_t::up);
      }
      load.milliseconds.push_back(std::chrono::duration<double, std::milli>(watcher.await(i + 1) - caused).count());
   }
   over = true;
   if (client.joinable()) client.join();
   load.routes += static_cast<double>(programmed) / std::chrono::duration<double>(Clock::now() - begin).count();
}

void run(Options const& options) {
   Report report(
      "event_latency",
      fmt::format("from a link's change to the handler, {} changes under each load, each after the one before has "
                  "arrived, in {} rounds",
                  options.events * options.rounds, options.rounds),
      {{"load", "load"},
       {"routes_per_second", "routes/s"},
       {"p50_ms", "p50 ms", 3},
       {"p99_ms", "p99 ms", 3},
       {"max_ms", "max ms", 3}});
   report.fact("goal_p99_ms", goalMilliseconds);
   report.note(fmt::format("The idle switch is the floor. Goal: p99 {:.0f} ms under load.", goalMilliseconds));
   std::vector<Load> loads{
      {"idle", false, false}, {"programming", false, true}, {"programming, state folder", true, true}};
   for (std::size_t round = 0; round < options.rounds; ++round) {
      for (auto& load : loads) measure(load, options);
   }
   auto const idle = percentilesOf(loads.front().milliseconds);
   for (auto const& load : loads) {
      auto const latency = percentilesOf(load.milliseconds);
      report.row({load.name, load.routes / static_cast<double>(options.rounds), latency.p50, latency.p99, latency.max});
      if (!load.programming) continue;
      report.claim({.what = fmt::format("an event in the switch, {}, p99", load.name),
                    .figure = latency.p99,
                    .unit = "ms",
                    .ratio = one(idle.p99 / latency.p99),
                    .ratioTo = "idle",
                    .mostFigure = goalMilliseconds});
   }
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("event_latency", "Measures how late events are under load.");
   program.json(options.json)
      .count("--routes", options.routes, "Routes to program, over and over")
      .count("--events", options.events, "Events under each load in each round")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
