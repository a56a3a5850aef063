#include "platform/loom/TaskScheduler.h"

#include <algorithm>
#include <utility>

#include "platform/pesko/Task.h"

// The life of a task:
//
//    idle ------ schedule -----> queued ---- runOne ----> running ---- the end of the run ----> idle
//      |                           ^                         |
//      |  scheduleAt               |  its time has come      |  schedule: queued for another run, after those
//      v                           |                         |  of its priority that were there before
//    a timer is armed -------------+                         v
//
// A task is in at most two places: in the queue, ordered by priority and then by the order of asking, and among the
// timers. A timer that expires only moves its task into the queue. That is done whenever somebody looks, as there is no
// thread here. The main loop looks: it sleeps until nextDue(), and wake_ tells it when something came up sooner.
//
// The mutex guards the bookkeeping alone and is free during a run, which may schedule, and destroy, any task.
namespace Loom {

TaskScheduler::TaskScheduler() : pesko_(std::make_shared<Pesko::TaskScheduler>(*this)) {}
TaskScheduler::~TaskScheduler() = default;

void TaskScheduler::add(Runnable& runnable) {
   std::lock_guard const lock(mutex_);
   all_.insert(&runnable);
}

void TaskScheduler::remove(Runnable& runnable) {
   std::lock_guard const lock(mutex_);
   if (runnable.place_) queue_.erase(*runnable.place_);
   disarm(runnable);
   if (running_ == &runnable) running_ = nullptr;
   all_.erase(&runnable);
}

bool TaskScheduler::schedule(Runnable& runnable) {
   std::lock_guard const lock(mutex_);
   if (runnable.place_) return false;
   // One wake-up stands for all that is queued: the loop looks again before it sleeps.
   if (queue_.empty() && wake_) wake_();
   enqueue(runnable);
   return true;
}

void TaskScheduler::scheduleAt(Runnable& runnable, Clock::time_point due) {
   std::lock_guard const lock(mutex_);
   if (runnable.place_ || (runnable.expiry_ && runnable.expiry_->due <= due)) return;
   disarm(runnable);
   if ((timers_.empty() || due < timers_.begin()->first.due) && wake_) wake_();
   runnable.expiry_ = {due, turns_++};
   timers_.emplace(*runnable.expiry_, &runnable);
}

void TaskScheduler::enqueue(Runnable& runnable) {
   runnable.place_ = {runnable.priority_, turns_++};
   queue_.emplace(*runnable.place_, &runnable);
}

void TaskScheduler::disarm(Runnable& runnable) {
   if (runnable.expiry_) timers_.erase(*runnable.expiry_);
   runnable.expiry_.reset();
}

void TaskScheduler::expireTimers() {
   if (timers_.empty()) return;
   for (auto const now = Clock::now(); !timers_.empty() && timers_.begin()->first.due <= now;) {
      auto& runnable = *timers_.begin()->second;
      disarm(runnable);
      if (!runnable.place_) enqueue(runnable);
   }
}

bool TaskScheduler::pending() {
   std::lock_guard const lock(mutex_);
   expireTimers();
   return !queue_.empty();
}

std::optional<TaskScheduler::Clock::time_point> TaskScheduler::nextDue() const {
   std::lock_guard const lock(mutex_);
   return timers_.empty() ? std::nullopt : std::optional(timers_.begin()->first.due);
}

bool TaskScheduler::runOne() {
   Runnable* next = nullptr;
   {
      std::lock_guard const lock(mutex_);
      expireTimers();
      if (queue_.empty()) return false;
      next = queue_.begin()->second;
      queue_.erase(queue_.begin());
      next->place_.reset();
   }
   run(*next);
   return true;
}

void TaskScheduler::run(Runnable& runnable) {
   struct Run {
      Run(TaskScheduler& scheduler, Runnable& runnable) : scheduler(scheduler) {
         std::lock_guard const lock(scheduler.mutex_);
         ++runnable.runs_;
         scheduler.running_ = &runnable;
         scheduler.runStart_ = Clock::now();
      }
      ~Run() {
         std::lock_guard const lock(scheduler.mutex_);
         scheduler.running_ = nullptr;
      }
      TaskScheduler& scheduler;
   };
   Qor::Ptr<TaskScheduler> const self(this);  // the task may be what keeps it, and may go
   Run const run(*this, runnable);
   runnable.run();
}

std::vector<TaskStats> TaskScheduler::taskStats() const {
   std::vector<TaskStats> stats;
   {
      std::lock_guard const lock(mutex_);
      stats.reserve(all_.size());
      for (auto const* task : all_) {
         stats.push_back({.name = task->statsName_,
                          .priority = task->priority_,
                          .quantum = task->quantum_,
                          .runs = task->runs_,
                          .workCount = task->workCount_,
                          .workPending = task->workPending_});
      }
   }
   std::ranges::stable_sort(stats, {}, &TaskStats::name);
   return stats;
}

void TaskScheduler::wakeIs(std::function<void()> wake) {
   std::lock_guard const lock(mutex_);
   wake_ = std::move(wake);
}

Qor::Ptr<TaskScheduler> TaskSchedulerRoot::findOrCreateScheduler() {
   static Qor::Ptr<TaskScheduler> const scheduler(new TaskScheduler);
   return scheduler;
}

}  // namespace Loom
