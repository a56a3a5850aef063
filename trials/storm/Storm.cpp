#include "trials/storm/Storm.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <list>
#include <memory>
#include <thread>

#include "tests/support/AgentTest.h"
#include "trials/storm/AgentState.h"
#include "trials/storm/Caller.h"
#include "trials/storm/ModelClient.h"
#include "trials/storm/Vanisher.h"

namespace VelmSdkRpc::storm {
namespace {

using Clock = Caller::Clock;

/// The storm's parts, one after the other.
class Storm {
 public:
   Storm(Options const& options, Tally& tally)
      : options_(options),
        tally_(tally),
        agent_({options.agent, {}, {"--trace", "VelmSdkRpc/0"}}),
        console_(agent_),
        model_(lasting_, console_, tally, findings_, options.seed) {
      for (std::size_t i = 0; i < options.connections; ++i) {
         callers_.emplace_back([this] { return connectTo(agent_.address()); }, lasting_, tally_, findings_, seed());
      }
   }

   Verdict run() {
      try {
         rage();
      } catch (std::exception const& e) {
         findings_.add(e.what());
      }
      Verdict verdict{findings_.texts(), findings_.count(), secondsSince(begin_), {}};
      if (verdict.count > 0) verdict.words = lastWords();
      return verdict;
   }

 private:
   void rage() {
      auto const startsBy = std::chrono::system_clock::now() + std::chrono::seconds(20);
      if (!lasting_->WaitForConnected(startsBy)) throw std::runtime_error("the agent does not start");
      auto const before = AgentState::of(agent_, console_);
      auto const rounds = std::max<std::uint64_t>(
         1, options_.calls > 0 ? options_.calls / 50000 : static_cast<std::uint64_t>(options_.seconds / 20));
      for (std::uint64_t round = 0; round < rounds && findings_.count() == 0; ++round) {
         double const share = 1.0 / static_cast<double>(rounds);
         rage(Weather::wild, 0.4 * share);
         model_.beginAnew();
         rage(Weather::calm, 0.6 * share);
         model_.compare();
         for (int resyncs = 0; resyncs < 3; ++resyncs) {
            model_.resync();
            model_.compare();
         }
      }
      findings_.add(excessOfClients(agent_, console_, before));
      end();
   }

   void rage(Weather weather, double share) {
      auto const last = tally_.total() + static_cast<std::uint64_t>(share * static_cast<double>(options_.calls));
      auto const until = Clock::now() + std::chrono::duration<double>(share * options_.seconds);
      Vanisher const vanisher(agent_.address(), weather, seed());
      rageWhile(weather, [&] {
         return findings_.count() == 0 && (options_.calls > 0 ? tally_.total() < last : Clock::now() < until);
      });
   }

   void rageWhile(Weather weather, std::function<bool()> const& goesOn) {
      std::list<std::thread> threads;
      for (auto& caller : callers_) threads.emplace_back([&] { caller.run(weather, goesOn); });
      if (weather == Weather::calm) model_.program(goesOn);
      for (auto& thread : threads) thread.join();
   }

   void end() {
      agent_.signal(SIGTERM);
      auto const status = agent_.waitForEnd(std::chrono::seconds(60));
      if (!status) {
         findings_.add("the agent has not ended");
      } else if (!WIFEXITED(*status) || WEXITSTATUS(*status) != 0) {
         findings_.add(fmt::format("the agent has ended with {:#x}", *status));
      }
      if (auto const alarm = alarmIn(agent_.stderrText()); alarm != std::string::npos) {
         findings_.add("the agent wrote: " + agent_.stderrText().substr(alarm, 200));
      }
   }

   static std::size_t alarmIn(std::string const& words) {
      auto first = std::string::npos;
      for (auto const* alarm : {"Sanitizer", "runtime error", "assertion failed", "terminate called"}) {
         first = std::min(first, words.find(alarm));
      }
      return first;
   }

   /// What the agent wrote from its first alarm on, or last.
   std::string lastWords() const {
      constexpr std::size_t most = 20000;
      auto const words = agent_.stderrText();
      auto const alarm = alarmIn(words);
      if (alarm != std::string::npos) return words.substr(alarm - std::min<std::size_t>(alarm, 1000), most);
      return words.substr(words.size() - std::min<std::size_t>(words.size(), 2000));
   }

   std::uint32_t seed() { return options_.seed * 1000 + seeds_++; }
   static double secondsSince(Clock::time_point begin) {
      return std::chrono::duration<double>(Clock::now() - begin).count();
   }

   Options const options_;
   Tally& tally_;
   Findings findings_;
   std::uint32_t seeds_ = 0;
   Clock::time_point const begin_ = Clock::now();
   AgentProcess agent_;
   Console const console_;
   std::shared_ptr<grpc::Channel> const lasting_ = connectTo(agent_.address());
   ModelClient model_;
   std::list<Caller> callers_;
};

}  // namespace

Verdict runStorm(Options const& options, Tally& tally) { return Storm(options, tally).run(); }

}  // namespace VelmSdkRpc::storm
