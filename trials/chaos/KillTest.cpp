// An agent that is killed under controllers that program, at its start, and in a resync: what it answered is there
// again.
#include <fmt/format.h>

#include <atomic>
#include <csignal>

#include "trials/chaos/ChaosTest.h"

namespace VelmSdkRpc::chaos {
namespace {

class KillTest : public ChaosTest {
 protected:
   // Started again, now and then killed before it is there, some times in a row.
   void restartThroughKills() {
      for (int kills = oneIn(3) ? 1 + upTo(3) : 0; kills > 0; --kills) {
         agent().restart();
         auto const soon = std::chrono::milliseconds(upTo(startTime_));
         EXPECT_FALSE(agent().waitForEnd(soon)) << agent().stderrText();
         EXPECT_EQ(end(SIGKILL, std::chrono::seconds(5)), SIGKILL);
      }
      auto const begin = std::chrono::steady_clock::now();
      restart();
      startTime_ = 1 + static_cast<int>((std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(1));
   }
   /// Everything repeated, or about half of it; now and then the agent is killed in the midst.
   void resyncThroughKills() {
      while (oneIn(3)) {
         std::atomic<bool> over = false;
         {
            auto const repeating = again([&] {
               over = resync();
               return false;
            });
            awaitAnswers(1 + upTo(20), over);  // of few elements there may be fewer
            agent().signal(SIGKILL);
         }
         EXPECT_EQ(agent().waitForEnd(), SIGKILL);
         resyncsKilled_ += over ? 0 : 1;
         restartThroughKills();
         if (!over) {
            expectExplained();
            continue;
         }
         // Redirects that were to go within a second are back: it takes another resync.
         ASSERT_TRUE(resync());
         expectExact();
      }
      bool const all = oneIn(2);
      ASSERT_TRUE(resync([&](Element const&) { return all || oneIn(2); }));
      expectExact();
   }

   int resyncsKilled_ = 0;

 private:
   int startTime_ = 20;  // of the last start, in milliseconds
};

TEST_F(KillTest, WhatWasAnsweredIsThereAfterEachKill) {
   unsigned open = 0;
   for (unsigned kill = 0; kill < Scale::get().rounds && !HasFailure(); ++kill) {
      SCOPED_TRACE(fmt::format("kill {}", kill));
      whileAllProgram(oneIn(3) ? 200 : 10, true, [&] {
         awaitAnswers(1 + upTo(60));
         agent().signal(SIGKILL);
      });
      EXPECT_EQ(agent().waitForEnd(), SIGKILL);
      for (auto const& controller : controllers()) open += controller->open.empty() ? 0 : 1;
      restartThroughKills();
      expectExplained();
      resyncThroughKills();
   }
   EXPECT_GE(2 * open, Scale::get().rounds);  // the kills did hit requests under way
   fmt::print("{} batches were open, {} resyncs killed\n", open, resyncsKilled_);
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
