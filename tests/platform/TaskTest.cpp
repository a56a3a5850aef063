#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/loom/Task.h"
#include "platform/pesko/DisplayPointer.h"
#include "platform/switch/MainLoop.h"
#include "platform/velm/sdk_lock.h"
#include "tests/platform/Job.h"

namespace velm::embedded {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class TaskTest : public ::testing::Test {
 protected:
   void runAll() {
      while (scheduler->runOne()) continue;
   }
   // Runs until the timers have all expired, up to a deadline that is not met.
   void runTimers() {
      auto const deadline = std::chrono::steady_clock::now() + 10s;
      while (scheduler->nextDue() && std::chrono::steady_clock::now() < deadline) runAll();
   }
   std::function<void()> note(std::string const& name) {
      return [this, name] { done.push_back(name); };
   }

   Qor::Ptr<Loom::TaskScheduler> const scheduler = makeScheduler();
   std::vector<std::string> done;
};

TEST_F(TaskTest, LowerNumbersRunFirstAndEqualOnesInTheOrderOfAsking) {
   Job a(scheduler, 3, note("a"));
   Job b(scheduler, 1, note("b"));
   Job c(scheduler, 3, note("c"));
   for (auto* job : {&a, &b, &c, &a}) job->scheduleTask();
   EXPECT_TRUE(a.taskScheduled());
   runAll();
   EXPECT_THAT(done, ElementsAre("b", "a", "c"));
   EXPECT_FALSE(a.taskScheduled() || scheduler->pending());
}

TEST_F(TaskTest, ARunYieldsOnceItsQuantumIsUsedUp) {
   int runs = 0;
   Job job(scheduler, 1, [] {});
   EXPECT_DOUBLE_EQ(job.taskQuantum(), 0.020);
   EXPECT_FALSE(job.taskShouldYield()) << "no run is under way";
   job.work = [&] {
      EXPECT_EQ(job.taskStatus(), Pesko::TaskStatus::running);
      if (++runs == 1) {
         EXPECT_FALSE(job.taskShouldYield());
         job.taskQuantumIs(job.taskQuantum() * 0.05);
         auto const start = std::chrono::steady_clock::now();
         while (!job.taskShouldYield()) continue;
         EXPECT_GE(std::chrono::steady_clock::now() - start, 0.9ms);
         job.scheduleTask();  // for what is left
         EXPECT_EQ(job.taskStatus(), Pesko::TaskStatus::running);
      } else {
         EXPECT_FALSE(job.taskShouldYield()) << "each run has its own quantum";
      }
   };
   job.scheduleTask();
   EXPECT_TRUE(scheduler->runOne());
   EXPECT_EQ(job.taskStatus(), Pesko::TaskStatus::scheduled);
   runAll();
   EXPECT_EQ(runs, 2);
   EXPECT_EQ(job.taskStatus(), Pesko::TaskStatus::idle);
}

TEST_F(TaskTest, ATimerKeepsTheSoonerOfItsDelays) {
   Job job(scheduler, 4, note("timer"));
   auto const due = [&] { return scheduler->nextDue().value(); };
   job.scheduleTaskLowestDelay(1h);
   auto const late = due();
   job.scheduleTaskLowestDelay(2h);
   EXPECT_EQ(due(), late);
   job.scheduleTaskLowestDelay(2ms);
   EXPECT_LT(due(), late);
   EXPECT_FALSE(scheduler->pending());
   job.scheduleTaskLowestDelay(std::chrono::nanoseconds::max());
   runTimers();
   EXPECT_THAT(done, ElementsAre("timer"));

   job.scheduleTaskLowestDelay(0ns);
   EXPECT_TRUE(scheduler->pending());
   job.scheduleTaskLowestDelay(1h);  // the run that is due stands for it
   EXPECT_FALSE(scheduler->nextDue());
}

TEST_F(TaskTest, TimersRunByDueTimeAndByPriorityWhenDueTogether) {
   Job low(scheduler, 5, note("low"));
   Job high(scheduler, 1, note("high"));
   Job last(scheduler, 0, note("last"));
   last.scheduleTaskLowestDelay(3ms);
   low.scheduleTaskLowestDelay(-2ns);
   high.scheduleTaskLowestDelay(-1ns);
   runAll();
   runTimers();
   EXPECT_THAT(done, ElementsAre("high", "low", "last"));
}

TEST_F(TaskTest, WhatGoesAwayDoesNotRun) {
   auto queued = std::make_unique<Job>(scheduler, 1, note("queued"));
   auto timed = std::make_unique<Job>(scheduler, 1, note("timed"));
   std::unique_ptr<Job> itself;
   itself = std::make_unique<Job>(scheduler, 0, [&] { itself = nullptr; });
   queued->scheduleTask();
   timed->scheduleTaskLowestDelay(1h);
   itself->scheduleTask();
   EXPECT_TRUE(scheduler->runOne());
   queued = nullptr;
   timed = nullptr;
   EXPECT_FALSE(scheduler->pending() || scheduler->nextDue());
   EXPECT_TRUE(scheduler->taskStats().empty());
}

TEST_F(TaskTest, ARunOfALoomTaskIsANotification) {
   struct Reactor : Qor::PtrInterface::NotifieeConst {
      void onAttribute(Qor::AttributeId id, void const*) override { ids.push_back(id); }
      std::vector<Qor::AttributeId> ids;
   };
   Qor::Ptr<Loom::Task> const task(new Loom::Task(scheduler, 3, "loom"));
   EXPECT_TRUE(task->taskScheduler() == scheduler && task->taskName() == Qor::String("loom"));
   Qor::Ptr<Reactor> const reactor(new Reactor);
   reactor->isRegisteredNotifieeIs(true);
   reactor->hasNotificationActiveIs(true);
   reactor->notifierIs(task);
   task->scheduleTask();
   runAll();
   task->hasNotificationActiveIs(true);
   task->scheduleTask();
   runAll();
   EXPECT_THAT(reactor->ids, ElementsAre(130));
}

TEST(TaskLoopTest, NoTaskRunsWhileAnotherThreadHoldsTheSdkLock) {
   auto const scheduler = makeScheduler();
   MainLoop loop(scheduler);
   int counter = 0;  // plain on purpose: the SDK lock alone guards it
   std::atomic<int> requesters{3};
   Job task(scheduler, 2, [&] { ++counter; });
   Job timer(scheduler, 1, [&] { ++counter; });
   Job storm(scheduler, 0, [&] {
      ++counter;
      requesters == 0 ? loop.stop() : storm.scheduleTask();
   });
   std::vector<std::thread> threads;
   for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] {
         for (int turn = 0; turn < 500; ++turn) {
            task.scheduleTask();
            timer.scheduleTaskLowestDelay(std::chrono::microseconds(turn));
            loop.post([&] { ++counter; });
            loop.postAfter(100us, [&] { ++counter; });
            task.taskWorkPendingIs(static_cast<std::uint32_t>(scheduler->taskStats().size()));
            sdk_scoped_lock const lock;
            auto const before = ++counter;
            std::this_thread::yield();
            EXPECT_EQ(counter, before);
         }
         --requesters;
      });
   }
   storm.scheduleTask();
   loop.run([] {});
   for (auto& thread : threads) thread.join();
   EXPECT_GE(counter, 3 * 500);
}

TEST(TaskLoopTest, TheLoopSleepsUntilATimerThatAnotherThreadArms) {
   auto const scheduler = makeScheduler();
   MainLoop loop(scheduler);
   int runs = 0;
   Job late(scheduler, 1, [] { ADD_FAILURE() << "an hour has not gone by"; });
   Job next(scheduler, 1, [] {});
   std::thread armer;
   next.work = [&] {
      if (++runs == 20) return loop.stop();
      if (armer.joinable()) armer.join();
      armer = std::thread([&] { next.scheduleTaskLowestDelay(500us); });
   };
   late.scheduleTaskLowestDelay(1h);
   next.scheduleTaskLowestDelay(1ms);
   auto const cpu = std::clock();
   loop.run([] {});
   armer.join();
   EXPECT_EQ(runs, 20);
   EXPECT_LT(std::clock() - cpu, CLOCKS_PER_SEC) << "a loop that spins";
}

TEST(RuntimeNamesTest, TheSchedulersAreOneAndPointersHaveSixteenDigits) {
   EXPECT_EQ(Pesko::schedulerRootPesko()->loomScheduler(), Loom::TaskSchedulerRoot::findOrCreateScheduler());
   EXPECT_EQ(
      fmt::format("{} {}", Pesko::DisplayPointer(reinterpret_cast<void*>(0x1aU)), Pesko::DisplayPointer(nullptr)),
      "0x000000000000001a NULL");
}

}  // namespace
}  // namespace velm::embedded
