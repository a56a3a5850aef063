// How long an event of the switch takes to its handler while another thread programs routes without pause.
//
// The switch runs in this process, without gRPC: what is measured is its lock and its main loop, and a figure that is
// too large here cannot be the fault of anything above. Each setting has a switch of its own, made anew for each round.

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <endian.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "bench/Latency.h"
#include "bench/Load.h"
#include "bench/Program.h"
#include "clients/support/TempFolder.h"
#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/Switch.h"

namespace VelmSdkRpc::Bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double most = 5;  // milliseconds, of the 99th percentile

struct Options {
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

   velm::embedded::Switch device{velm::embedded::makeSimulatedDataplane};

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

/// The switch's other work while events are timed.
struct Setting {
   char const* name;
   bool programming;
   bool stored;  // with a state folder
};
constexpr Setting settings[]{
   {"idle", false, false}, {"programming", true, false}, {"programming, state folder", true, true}};

Times measure(Setting const& setting, Options const& options, double& programmed) {
   TempFolder const folder;
   RunningSwitch running(setting.stored ? folder.path() : std::string());
   auto& device = running.device;
   Watcher watcher(device.intfs);
   std::optional<Load> load;
   std::uint32_t number = 0;
   // The factor spreads the keys over the whole table.
   auto const programNext = [&] {
      program(device.ipRoutes, static_cast<std::uint32_t>(number++ % options.routes) * 2654435761U);
   };
   if (setting.programming) load.emplace(programNext);
   Times times;
   for (std::size_t i = 0; i < options.events; ++i) {
      auto const caused = Clock::now();
      {
         velm::sdk_scoped_lock const lock;
         device.intfs.linkIs(velm::intf_id_t("Ethernet1"),
                             i % 2 == 0 ? velm::oper_status_t::down : velm::oper_status_t::up);
      }
      times.push_back(std::chrono::duration<double, std::milli>(watcher.await(i + 1) - caused).count());
   }
   if (load) programmed = load->stop();
   return times;
}

Report run(Options const& options) {
   Report report("event_latency",
                 fmt::format("from a link's change to its handler, within the switch, {} changes under "
                             "each load in {} rounds",
                             options.events * options.rounds, options.rounds));
   std::array<double, std::size(settings)> programmed{};
   auto const times = interleave(std::size(settings), options.rounds, [&](std::size_t which, std::size_t) {
      return measure(settings[which], options, programmed[which]);
   });
   for (std::size_t i = 1; i < times.size(); ++i) {
      addLatency(report, fmt::format("an event in the switch, {}", settings[i].name), times[i],
                 {{settings[0].name, &times[0]}}, {.most = most}, {{"routes/s", programmed[i]}});
   }
   return report;
}

}  // namespace

void addEventLatency(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "event_latency", "How late events within the switch are under load",
                                [=] { return run(*options); });
   addCount(command, "--routes", options->routes, "Routes to program, over and over");
   addCount(command, "--events", options->events, "Events under each load in each round");
   addCount(command, "--rounds", options->rounds, "Rounds");
}

}  // namespace VelmSdkRpc::Bench
