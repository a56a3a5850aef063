#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/loom/TaskScheduler.h"

/// Tasks on a smaller scale than Loom's: a body to override instead of a notification. They share Loom's queue.
namespace Pesko {

using Loom::TaskPriority;

/// The name under which Pesko's tasks know the Loom scheduler that it sits in, and lives as long as.
class TaskScheduler {
 public:
   explicit TaskScheduler(Loom::TaskScheduler& loom) : loom_(loom) {}
   Qor::Ptr<Loom::TaskScheduler> loomScheduler() const { return &loom_; }

 private:
   Loom::TaskScheduler& loom_;
};

/// The scheduler of the main loop; the one inside Loom::TaskSchedulerRoot's.
std::shared_ptr<TaskScheduler> schedulerRootPesko();

/// The questions of the scheduler that a task may answer in its own way.
class _TaskBase : public Loom::Runnable {  // NOLINT(bugprone-reserved-identifier)
 public:
   using Runnable::Runnable;

   /// The task was asked for a run that is asked for already. Any thread.
   virtual void handleTaskBusy() {}
   /// The task's statistics are to start anew.
   virtual void handleResetStats() { resetStats(); }
};

enum class TaskStatus { idle, scheduled, running };

/// A task with a body. As thread-safe as Loom::Runnable.
class TaskImpl : public _TaskBase {
 public:
   TaskImpl(std::shared_ptr<TaskScheduler> const& scheduler, TaskPriority priority, std::string const& name)
      : _TaskBase(scheduler->loomScheduler(), priority, name) {}

   void scheduleTask() {
      if (!_TaskBase::scheduleTask()) handleTaskBusy();
   }
   /// A task that asked during its run for another is running.
   TaskStatus taskStatus() const;
   /// The name under which the statistics show the task; at first its own.
   void taskStatsNameIs(std::string const& name) { statsNameIs(name); }
   /// Runs the body once, here and now, with all that belongs to a run. Under the SDK lock.
   void taskRunFromTest() { taskScheduler()->run(*this); }

   /// The run flag: a body that reads it first does nothing while it is off. On at first; the SDK lock guards it.
   bool taskRun() const { return taskRun_; }
   void taskRunIs(bool on) { taskRun_ = on; }

 protected:
   virtual void taskExecute() = 0;

 private:
   void run() override { taskExecute(); }

   bool taskRun_ = true;
};

class Task : public TaskImpl {
 public:
   using TaskImpl::TaskImpl;
};

/// A task that runs after a delay.
class TimerTask : public TaskImpl {
 public:
   using TaskImpl::TaskImpl;

   /// Arms the timer for the delay, unless it is armed to expire sooner or a run is due already. Any thread.
   void scheduleTaskLowestDelay(std::chrono::nanoseconds delay) { scheduleAfter(delay); }

 protected:
   /// The delay is over. On the main loop, under the SDK lock, at the task's priority.
   virtual void timeout() {}
   void taskExecute() override { timeout(); }
};

}  // namespace Pesko
