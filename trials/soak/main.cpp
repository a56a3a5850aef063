// A long run under a steady load, as in production: a controller with a large table that resyncs, random calls, events,
// and clients that come and go, while memory, queues and latencies are looked at.

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <list>
#include <random>
#include <thread>

#include "trials/soak/Samples.h"
#include "trials/soak/Summary.h"
#include "trials/storm/Caller.h"

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
   app.add_option("--out", options.out, "Folder for soak.csv and soak.json")->capture_default_str();
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
   World(storm::Console const& console, storm::Findings& findings) : console_(console), findings_(findings) {
      std::vector<std::string> commands;
      for (std::size_t i = 0; i < intfs; ++i) commands.push_back(fmt::format("interface Loopback{}", 1000 + i));
      console_.configure(commands);
   }

   void run(Halt const& halt) {
      try {
         eachBeat(halt, std::chrono::milliseconds(100), [this] { change(); });
      } catch (std::exception const& e) {
         findings_.add(fmt::format("the world: {}", e.what()));
      }
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

   storm::Console const& console_;
   storm::Findings& findings_;
   std::size_t changes_ = 0;
};

class Soak {
 public:
   explicit Soak(Options options) : options_(std::move(options)) {
      for (std::size_t i = 0; i < options_.callers; ++i) {
         // Without a lasting channel: what an agent never releases by contract would be all that is seen to grow.
         callers_.emplace_back([this] { return storm::connectTo(agent_.address()); }, nullptr, tally_, findings_,
                               options_.seed + static_cast<std::uint32_t>(i));
         callers_.back().leastPauseIs(std::chrono::microseconds(1'000'000 * options_.callers /
                                                                std::max<std::size_t>(1, options_.callsPerSecond)));
      }
   }

   bool run() {
      for (auto const& channel : {controlling_, probing_}) {
         channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20));
      }
      auto const before = storm::AgentState::of(agent_, console_);
      soak();
      controller_.clear();
      findings_.add(excessOfClients(agent_, console_, before));
      end();
      return tell();
   }

 private:
   void soak() {
      std::list<std::thread> threads;
      threads.emplace_back([this] { controller_.run(halt_); });
      threads.emplace_back([this] { world_.run(halt_); });
      threads.emplace_back([this] { probe_.run(halt_); });
      for (auto& caller : callers_) {
         threads.emplace_back([&] { caller.run(storm::Weather::calm, [this] { return !halt_.isNow(); }); });
      }
      std::thread sampler([this] {
         try {
            samples_.run(halt_);
         } catch (std::exception const& e) {
            findings_.add(fmt::format("the sampler: {}", e.what()));
         }
      });
      auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                         std::chrono::duration<double, std::ratio<3600>>(options_.hours));
      while (Clock::now() < end && findings_.count() == 0) {
         halt_.awaitTime(std::min(end, Clock::now() + std::chrono::seconds(1)));
      }
      halt_.now();
      for (auto& thread : threads) thread.join();
      sampler.join();
   }

   void end() {
      agent_.signal(SIGTERM);
      auto const status = agent_.waitForEnd(std::chrono::seconds(60));
      if (!status || !WIFEXITED(*status) || WEXITSTATUS(*status) != 0) findings_.add("the agent does not end in order");
   }

   bool tell() {
      if (samples_.all().empty()) findings_.add("too short for a sample");
      if (!samples_.all().empty()) {
         Summary const summary(samples_.all());
         fmt::print("{}{} random calls, {} routes programmed, {} resyncs\n", summary.table(), tally_.total(),
                    controller_.programmed(), controller_.resyncs());
         std::ofstream(options_.out + "/soak.json") << summary.json(controller_.resyncs());
         // A quarter of an hour says nothing of the slope.
         if (options_.hours >= 0.5 && summary.memorySlope() > options_.mostSlope) findings_.add("the memory grows");
      }
      for (auto const& finding : findings_.texts()) fmt::print("found: {}\n", finding);
      bool const good = findings_.count() == 0;
      if (auto const words = agent_.stderrText(); !good) {
         fmt::print(stderr, "the agent wrote last: {}\n",
                    words.substr(words.size() - std::min<std::size_t>(words.size(), 2000)));
      }
      fmt::print("{}, seed {}\n", good ? "passed" : "FAILED", options_.seed);
      return good;
   }

   Options const options_;
   TempFolder const state_;
   AgentProcess agent_{{options_.agent, {}, {"--trace", "VelmSdkRpc/0", "--switch-state", state_.path() + "/state"}}};
   storm::Console const console_{whenServing(agent_)};
   std::shared_ptr<grpc::Channel> const controlling_ = storm::connectTo(agent_.address());
   std::shared_ptr<grpc::Channel> const probing_ = storm::connectTo(agent_.address());
   storm::Findings findings_;
   storm::Tally tally_;
   Halt halt_;
   Controller controller_{controlling_, options_.routes,
                          std::chrono::duration_cast<Clock::duration>(
                             std::chrono::duration<double, std::ratio<60>>(options_.sessionMinutes)),
                          findings_};
   Probe probe_{probing_, console_, findings_};
   World world_{console_, findings_};
   Samples samples_{agent_, console_, probe_, controller_, tally_, options_.out + "/soak.csv"};
   std::list<storm::Caller> callers_;
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
