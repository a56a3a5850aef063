// A long run under a steady load, as in production: a controller with a large table that resyncs, random calls, events,
// and clients that come and go, while memory, queues and latencies are looked at.

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <list>
#include <random>
#include <thread>

#include "trials/soak/Samples.h"
#include "trials/support/Caller.h"

namespace VelmSdkRpc::soak {
namespace {

struct Options {
   std::string agent = AGENT_PROGRAM;
   double hours = 1;
   std::size_t routes = 200'000;
   double sessionMinutes = 3;
   std::size_t callers = 4;
   std::size_t callsPerSecond = 200;  // of all callers
   std::string out = ".";
   double mostSlope = 16;  // MiB an hour
   std::uint32_t seed = std::random_device()() % 1000000;
};

Options parse(int argc, char** argv) {
   Options options;
   CLI::App app("An agent under a steady load, for hours.", "soak");
   app.add_option("--agent", options.agent, "The agent's program")->capture_default_str();
   app.add_option("--hours", options.hours, "How long")->check(CLI::PositiveNumber)->capture_default_str();
   app.add_option("--routes", options.routes, "The controller's table, in whole thousands")->capture_default_str();
   app.add_option("--session", options.sessionMinutes, "Minutes between resyncs")->capture_default_str();
   app.add_option("--calls", options.callsPerSecond, "Random calls a second")->capture_default_str();
   app.add_option("--out", options.out, "Folder for soak.json")->capture_default_str();
   app.add_option("--most-slope", options.mostSlope, "MiB an hour that the second half may gain")
      ->capture_default_str();
   app.add_option("--seed", options.seed, "Of the random calls");
   try {
      app.parse(argc, argv);
   } catch (CLI::ParseError const& e) {
      std::exit(app.exit(e));
   }
   return options;
}

AgentProcess const& whenServing(AgentProcess const& agent) {
   if (!agent.waitUntilServing()) throw std::runtime_error("the agent does not start");
   return agent;
}

/// The outside world: BGP paths and statuses of loopbacks change, of which nobody else knows.
class World {
 public:
   explicit World(SwitchConsole const& console) : console_(console) {
      std::vector<std::string> commands;
      for (std::size_t i = 0; i < intfs; ++i) commands.push_back(fmt::format("interface Loopback{}", 1000 + i));
      console_.configure(commands);
   }

   void run(std::stop_token const& stop) {
      trials::eachBeat(stop, std::chrono::milliseconds(100), [this] { change(); });
   }

 private:
   static constexpr std::size_t intfs = 100;
   static constexpr std::size_t paths = 20'000;

   void change() {
      std::vector<std::string> commands;
      for (int i = 0; i < 50; ++i, ++changes_) {
         auto const path = changes_ % paths;
         commands.push_back(
            fmt::format("simulate bgp path 77.{}.{}.0/24 peer 10.0.0.9 vrf default next-hop 10.0.0.9 med {}",
                        path / 256, path % 256, changes_ / paths));
         if (i % 5 == 0) {
            commands.push_back(fmt::format("simulate interface Loopback{} oper {}", 1000 + changes_ / 5 % intfs,
                                           changes_ / 5 / intfs % 2 == 0 ? "down" : "up"));
         }
      }
      console_.configure(commands);
   }

   SwitchConsole const& console_;
   std::size_t changes_ = 0;
};

class Soak {
 public:
   explicit Soak(Options options) : options_(std::move(options)) {
      for (std::size_t i = 0; i < options_.callers; ++i) {
         // Without a lasting channel: what an agent never releases by contract would be all that is seen to grow.
         callers_.emplace_back(agent_.address(), nullptr, tally_, findings_,
                               options_.seed + static_cast<std::uint32_t>(i));
      }
   }

   bool run() {
      for (auto const& channel : {controlling_, probing_}) {
         channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20));
      }
      auto const before = trials::AgentState::of(agent_, console_);
      soak();
      guarded("the last resync", [this] { controller_.clear(); });
      findings_.add(trials::excessOfClients(agent_, console_, before));
      findings_.add(trials::faultOfEnd(agent_));
      return tell();
   }

 private:
   template <class Work>
   void guarded(char const* who, Work&& work) {
      try {
         work();
      } catch (std::exception const& e) {
         findings_.add(fmt::format("{}: {}", who, e.what()));
      }
   }

   void soak() {
      std::list<std::jthread> threads;
      auto const start = [&](char const* who, auto& part) {
         threads.emplace_back(
            [this, who, &part](std::stop_token const& stop) { guarded(who, [&] { part.run(stop); }); });
      };
      start("the controller", controller_);
      start("the world", world_);
      start("the probe", probe_);
      start("the sampler", samples_);
      for (auto& caller : callers_) {
         threads.emplace_back([&](std::stop_token const& stop) {
            constexpr unsigned callerThreads = 8;
            auto const pause = std::chrono::microseconds(1'000'000 * options_.callers * callerThreads /
                                                         std::max<std::size_t>(1, options_.callsPerSecond));
            caller.run(
               trials::Weather::calm, [&] { return !stop.stop_requested(); }, callerThreads, pause);
         });
      }
      auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                         std::chrono::duration<double, std::ratio<3600>>(options_.hours));
      while (Clock::now() < end && findings_.count() == 0) {
         trials::awaitTime({}, std::min(end, Clock::now() + std::chrono::seconds(1)));
      }
      for (auto& thread : threads) thread.request_stop();  // all at once; their ends are awaited one by one
   }

   bool tell() {
      if (samples_.all().empty()) {
         findings_.add("too short for a sample");
      } else {
         fmt::print("{}{} random calls, {} routes programmed, {} resyncs\n", samples_.table(), tally_.total(),
                    controller_.programmed(), controller_.resyncs());
         std::ofstream(options_.out + "/soak.json") << samples_.json();
         // A quarter of an hour says nothing of the slope.
         if (options_.hours >= 0.5 && samples_.memorySlope() > options_.mostSlope) findings_.add("the memory grows");
      }
      for (auto const& finding : findings_.texts()) fmt::print("found: {}\n", finding);
      bool const good = findings_.count() == 0;
      if (!good) fmt::print(stderr, "the agent wrote: {}\n", trials::lastWords(agent_));
      fmt::print("{}, seed {}\n", good ? "passed" : "FAILED", options_.seed);
      return good;
   }

   Options const options_;
   TempFolder const state_;
   AgentProcess agent_{{options_.agent, {}, {"--trace", "VelmSdkRpc/0", "--switch-state", state_.path() + "/state"}}};
   SwitchConsole const console_{trials::connectTo(whenServing(agent_).address())};
   std::shared_ptr<grpc::Channel> const controlling_ = trials::connectTo(agent_.address());
   std::shared_ptr<grpc::Channel> const probing_ = trials::connectTo(agent_.address());
   trials::Findings findings_;
   trials::Tally tally_;
   Controller controller_{controlling_, options_.routes,
                          std::chrono::duration_cast<Clock::duration>(
                             std::chrono::duration<double, std::ratio<60>>(options_.sessionMinutes))};
   Probe probe_{probing_, console_};
   World world_{console_};
   Samples samples_{agent_, console_, probe_, controller_, tally_};
   std::list<trials::Caller> callers_;
};

}  // namespace
}  // namespace VelmSdkRpc::soak

int main(int argc, char** argv) {
   try {
      auto const options = VelmSdkRpc::soak::parse(argc, argv);
      std::filesystem::create_directories(options.out);
      return VelmSdkRpc::soak::Soak(options).run() ? 0 : 1;
   } catch (std::exception const& e) {
      fmt::print(stderr, "soak: {}\n", e.what());
      return 1;
   }
}
