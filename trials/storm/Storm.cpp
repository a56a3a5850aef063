#include "trials/storm/Storm.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <thread>

#include "trials/storm/Vanisher.h"
#include "trials/support/AgentState.h"
#include "trials/support/Caller.h"
#include "trials/support/Controller.h"

namespace VelmSdkRpc::storm {
namespace {

using trials::AgentState;
using trials::Clock;
using trials::Controller;

// Keys that random calls leave alone (see StormMessage).
NativeKeys orderly() { return {"model", "77", "2001:db9", 1048560}; }

/// The storm's parts, one after the other.
class Storm {
 public:
   Storm(Options const& options, Tally& tally)
      : options_(options),
        tally_(tally),
        agent_({options.agent, {}, {"--trace", "VelmSdkRpc/0"}}),
        console_(trials::connectTo(agent_.address())),
        controller_(agent_.address(), orderly(), options.seed, findings_) {
      for (std::size_t i = 0; i < options.connections; ++i) {
         callers_.emplace_back(agent_.address(), lasting_, tally_, findings_, seed());
      }
   }

   Verdict run() {
      try {
         rage();
      } catch (std::exception const& e) {
         findings_.add(e.what());
      }
      Verdict verdict{findings_.texts(), findings_.count(), secondsSince(begin_), {}};
      if (verdict.count > 0) verdict.words = trials::lastWords(agent_);
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
         resync(false);
         rage(Weather::calm, 0.6 * share);
         compare();
         for (int resyncs = 0; resyncs < 3; ++resyncs) {
            resync(true);
            compare();
         }
      }
      resync(false);  // sessions may follow interfaces, which are watched then
      findings_.add(trials::excessOfClients(agent_, console_, before));
      findings_.add(trials::faultOfEnd(agent_));
   }

   void rage(Weather weather, double share) {
      auto const last = tally_.total() + static_cast<std::uint64_t>(share * static_cast<double>(options_.calls));
      auto const until = Clock::now() + std::chrono::duration<double>(share * options_.seconds);
      auto const vanishing = vanishers(agent_.address(), weather, seed());
      rageWhile(weather, [&] {
         return findings_.count() == 0 && (options_.calls > 0 ? tally_.total() < last : Clock::now() < until);
      });
   }

   void rageWhile(Weather weather, std::function<bool()> const& goesOn) {
      std::list<std::thread> threads;
      for (auto& caller : callers_) threads.emplace_back([&] { caller.run(weather, goesOn); });
      while (weather == Weather::calm && goesOn()) must(controller_.sendAny(6, false));
      for (auto& thread : threads) thread.join();
   }

   /// A session as after a restart of the client; `repeats` about half of what is there, beside news.
   void resync(bool repeats) {
      must(controller_.init(controller_.any.oneIn(2) ? "cbf" : ""));
      resyncIs(pb::RESYNC_START);
      controller_.model.startResync();
      for (auto const& element : controller_.model.held()) {
         if (repeats && controller_.any.oneIn(2)) must(controller_.send({element}));
         if (repeats && controller_.any.oneIn(4)) must(controller_.sendAny(6, false));
      }
      resyncIs(pb::RESYNC_END);
      controller_.model.endResync();
   }
   void resyncIs(pb::rpc_server_resync_state_enum state) {
      auto const answer = controller_.resync(state);
      must(answer.has_value());
      if (answer->status() != pb::rpc_status_msg::STATUS_SUCCESS) findings_.add("resync: " + answer->debug_string());
   }
   static void must(bool answered) {
      if (!answered) throw std::runtime_error("the orderly client is not answered");
   }

   /// The switch must hold what the orderly client was told.
   void compare() {
      auto found = tablesOf([&](std::string const& command) { return console_.show(command); });
      std::erase_if(found, [](auto const& row) { return !orderly().own(row.first); });
      findings_.add(differenceOf(found, controller_.model.tables()));
   }

   std::uint32_t seed() { return options_.seed * 1000 + seeds_++; }
   static double secondsSince(Clock::time_point begin) {
      return std::chrono::duration<double>(Clock::now() - begin).count();
   }

   Options const options_;
   Tally& tally_;
   trials::Findings findings_;
   std::uint32_t seeds_ = 0;
   Clock::time_point const begin_ = Clock::now();
   AgentProcess agent_;
   SwitchConsole const console_;
   std::shared_ptr<grpc::Channel> const lasting_ = trials::connectTo(agent_.address());
   Controller controller_;
   std::list<trials::Caller> callers_;
};

}  // namespace

Verdict runStorm(Options const& options, Tally& tally) { return Storm(options, tally).run(); }

}  // namespace VelmSdkRpc::storm
