#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"
#include "clients/support/TempFolder.h"
#include "tests/support/Eventually.h"
#include "trials/chaos/Scale.h"
#include "trials/support/AgentState.h"
#include "trials/support/Caller.h"
#include "trials/support/Controller.h"
#include "trials/support/Stop.h"

namespace VelmSdkRpc::chaos {

using trials::again;
using trials::Controller;

/// The policy map of all redirects.
constexpr auto policyMap = "chaos";

/// An agent on a state folder, and the controllers that program it. After each test the agent is emptied: it must then
/// hold for its clients what it held before them, and end in order.
class ChaosTest : public ::testing::Test {
 protected:
   void SetUp() override;
   void TearDown() override;

   AgentProcess& agent() { return agent_; }
   SwitchConsole const& console() { return *console_; }
   std::vector<std::unique_ptr<Controller>>& controllers() { return controllers_; }
   Controller& controller(std::size_t number = 0) { return *controllers_.at(number); }
   trials::Findings& findings() { return findings_; }
   /// For the test's own thread, while the controllers' use theirs.
   int upTo(int bound) { return any_.upTo(bound); }
   bool oneIn(int chances) { return any_.oneIn(chances); }

   /// Starts the agent again, which has ended, and opens a session.
   void restart();
   /// All controllers program while the work is done, each in a thread of its own.
   void whileAllProgram(int most, bool redirects, std::function<void()> const& work);
   std::shared_ptr<grpc::Channel> newChannel() const { return trials::connectTo(agent_.address()); }
   Tables tables() const {
      return tablesOf([this](std::string const& command) { return console_->show(command); });
   }
   /// Waits for so many more answers to controllers, or until that is over for which they come.
   void awaitAnswers(unsigned count) { awaitAnswers(count, false); }
   void awaitAnswers(unsigned count, std::atomic<bool> const& over);
   /// Ends it, which programmed or not has so long. The status of waitpid.
   int end(int signal, std::chrono::milliseconds grace);

   /// The switch holds what the answers said, an open batch at whatever moment.
   void expectExplained();
   /// It holds just that; removals of redirects take their time.
   void expectExact();
   /// A whole resync in which the elements are sent again for which `repeats` is true. False once the agent does not
   /// answer.
   bool resync(std::function<bool(Element const&)> const& repeats = [](Element const&) { return true; });

   /// The agent holds for its clients what it held at first. Told by events, of every kind that there have been, that
   /// they have gone: the SDK's watching for a watch whose Write failed ends with the next one.
   void expectRest();
   virtual void raiseMore() {}
   double memory() const { return trials::memoryOf(agent_); }
   /// A quarter more, and 64 MiB, may be kept for the next load: glibc's arenas give the system only their tops back,
   /// and each of gRPC's threads has one.
   void expectMemoryBack() const;
   /// Compares with what there is of it now, from now on; at first with that of an agent that has just started.
   void memoryIsUsual() { memoryBefore_ = memory(); }

 private:
   std::unique_ptr<Controller> newController(unsigned number);
   void empty();

   AnyNative any_{Scale::get().seed, Controller::tag, {}};
   TempFolder const state_;
   AgentProcess agent_{
      {Scale::get().agent, {}, {"--trace", "VelmSdkRpc/0", "--switch-state", state_.path() + "/state"}}};
   std::optional<SwitchConsole> console_;
   trials::Findings findings_;
   std::vector<std::unique_ptr<Controller>> controllers_;
   std::optional<trials::AgentState> before_;
   double memoryBefore_ = 0;
};

}  // namespace VelmSdkRpc::chaos
