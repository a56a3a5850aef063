#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/qor/Runtime.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"
#include "tests/platform/Job.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;

TEST(MainLoopTest, EventsComeInOrderAndTasksByPriorityOneATurn) {
   auto const scheduler = makeScheduler();
   MainLoop loop(scheduler);
   std::vector<std::string> done;
   Job low(scheduler, 5, [&] { done.emplace_back("low"); });
   Job high(scheduler, 1, [&] {
      done.emplace_back("high");
      EXPECT_TRUE(sdk_scoped_lock::held());
   });
   loop.post([&] {
      done.emplace_back("first");
      loop.post([&] { done.emplace_back("third"); });  // queued during the turn: delivered in the next
      low.scheduleTask();
      high.scheduleTask();
      low.scheduleTask();  // asked for already
   });
   loop.post([&] {
      done.emplace_back("second");
      loop.disable();
      loop.disable();
   });
   loop.run([&] {
      EXPECT_FALSE(sdk_scoped_lock::held());
      done.emplace_back("disable");
      loop.post([&] { loop.stop(); });
   });
   EXPECT_THAT(done, ElementsAre("first", "second", "high", "disable", "third", "low"));
}

TEST(MainLoopTest, WhatIsPostedForLaterComesInTheOrderOfTheTimes) {
   using namespace std::chrono_literals;
   MainLoop loop(makeScheduler());
   std::vector<int> done;
   auto const start = std::chrono::steady_clock::now();
   loop.postAfter(20ms, [&] {
      EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
      done.push_back(20);
      loop.post([&] { done.push_back(21); });
      std::thread([&] { loop.postAfter(1ms, [&] { loop.stop(); }); }).join();
   });
   loop.postAfter(std::chrono::nanoseconds::max(), [&] { done.push_back(-1); });
   loop.postAfter(5ms, [&] { done.push_back(5); });
   loop.postAfter(5us, [&] { done.push_back(0); });
   loop.postAfter(-1s, [&] { done.push_back(-1000); });
   loop.run([] {});
   EXPECT_THAT(done, ElementsAre(-1000, 0, 5, 20, 21));
}

TEST(MainLoopTest, AnEventOwnsItsCapturesUntilItIsDone) {
   auto const counted = std::make_shared<int>(0);
   std::array<std::shared_ptr<int>, 9> many;  // too large to be kept in place
   many.fill(counted);
   for (bool const large : {false, true}) {
      Event event = large ? Event([many] { ++*many[0]; }) : Event([counted] { ++*counted; });
      auto const held = counted.use_count();
      Event moved(std::move(event));
      EXPECT_EQ(counted.use_count(), held);
      moved();
      moved = Event();
      EXPECT_LT(counted.use_count(), held);
   }
   EXPECT_EQ(*counted, 2);
   EXPECT_EQ(counted.use_count(), 10);
}

TEST(MainLoopTest, WhatOneHoldOfTheLockCausesIsDeliveredBeforeATaskRuns) {
   auto const scheduler = makeScheduler();
   MainLoop loop(scheduler);
   int delivered = 0;
   Job job(scheduler, 1, [&] { EXPECT_EQ(delivered % 2, 0); });
   std::thread poster([&] {
      for (int i = 0; i < 200; ++i) {
         sdk_scoped_lock const lock;
         for (int event = 0; event < 2; ++event) {
            loop.post([&] {
               ++delivered;
               job.scheduleTask();
            });
            // Long enough for the loop to wake up to the first one.
            auto const later = std::chrono::steady_clock::now() + std::chrono::microseconds(100);
            while (std::chrono::steady_clock::now() < later) std::this_thread::yield();
         }
      }
      loop.post([&] { loop.stop(); });
   });
   loop.run([] {});
   poster.join();
   EXPECT_EQ(delivered, 400);
}

TEST(MainLoopTest, AStormOfEventsLeavesTheLockToOthers) {
   MainLoop loop(makeScheduler());
   std::atomic<bool> gotIn{false};
   std::function<void()> storm = [&] {
      if (gotIn) {
         loop.stop();
      } else {
         loop.post(storm);
         loop.post([] {});
      }
   };
   loop.post(storm);
   std::thread requester([&] {
      for (int i = 0; i < 100; ++i) sdk_scoped_lock const lock;
      gotIn = true;
   });
   loop.run([] {});
   requester.join();
   EXPECT_TRUE(gotIn);
}

// Each hold of the lock causes as much work for the loop as it lasts.
TEST(MainLoopTest, WhoHoldsTheLockForLongDoesNotOutrunTheEvents) {
   MainLoop loop(makeScheduler());
   auto const spend = [](std::chrono::microseconds time) {
      auto const until = std::chrono::steady_clock::now() + time;
      while (std::chrono::steady_clock::now() < until) continue;
   };
   constexpr int holds = 50;
   std::atomic<int> hold{0};
   int mostBehind = 0;
   std::thread requester([&] {
      while (++hold <= holds) {
         sdk_scoped_lock const lock;
         for (int i = 0; i < 80; ++i) {
            loop.post([&, raised = hold.load()] {
               spend(std::chrono::microseconds(20));
               mostBehind = std::max(mostBehind, hold - raised);
            });
         }
         spend(std::chrono::milliseconds(2));
      }
      loop.post([&] { loop.stop(); });
   });
   loop.run([] {});
   requester.join();
   EXPECT_LT(mostBehind, holds / 2);
}

TEST(MainLoopDeathTest, AnErrorGoesToTheHandlerAndWhatThatThrowsEndsTheProcess) {
   auto const run = [](void (*handler)(error const&), bool mayGoOn) {
      MainLoop loop(makeScheduler());
      exception_handler_is(handler);
      loop.post([] { throw configuration_error("loose"); });
      loop.post([&] { loop.stop(); });
      loop.run([] {});
      exception_handler_is(nullptr);
      std::exit(mayGoOn ? 0 : 1);
   };
   EXPECT_EXIT(run([](error const& e) { std::fputs(e.what(), stderr); }, true), ::testing::ExitedWithCode(0), "loose");
   EXPECT_DEATH(run([](error const& e) { e.raise(); }, false), "configuration_error");
   EXPECT_DEATH(run(nullptr, false), "configuration_error");
}

struct Mgr {
   explicit Mgr(CallLedger& ledger) : operations(ledger) {}
   void inner() const { Call const call(operations); }
   void outer() const {
      Call const call(operations);
      inner();
   }
   Operations<"mgr", "inner", "outer"> operations;
};

TEST(CallLedgerTest, FaultsAreOfTheirClassAndInnerCallsCountNothingAndMeetNone) {
   CallLedger ledger;
   Mgr const mgr(ledger);
   ledger.failNext("mgr.inner", "unsupported_error", "no", 2);
   mgr.outer();
   EXPECT_THROW(mgr.inner(), unsupported_error);
   EXPECT_THROW(mgr.inner(), unsupported_error);
   EXPECT_NO_THROW(mgr.inner());
   EXPECT_THAT(ledger.calls(), ElementsAre(::testing::Pair("mgr.inner", 3), ::testing::Pair("mgr.outer", 1)));
   EXPECT_FALSE(sdk_scoped_lock::held());
   for (auto const* name : {"error", "invalid_argument_error", "invalid_range_error", "configuration_error",
                            "unconfigured_agent_error", "unsupported_error", "no_scoped_lock_obtained_error"}) {
      ledger.failNext("mgr.outer", name, "told to", 1);
      try {
         mgr.outer();
         ADD_FAILURE() << name;
      } catch (error const& e) {
         EXPECT_EQ(Qor::demangle(typeid(e)), std::string("velm::") + name);
         EXPECT_STREQ(e.what(), "told to");
      }
   }
}

}  // namespace
}  // namespace velm::embedded
