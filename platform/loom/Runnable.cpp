#include "platform/loom/Runnable.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/loom/TaskScheduler.h"

// A task's state is guarded by its scheduler's mutex and not by one of its own: being asked for, queued and run changes
// the task and the queue together.
namespace Loom {

Runnable::Runnable(Qor::Ptr<TaskScheduler> const& scheduler, TaskPriority priority, Qor::String const& name)
   : scheduler_(scheduler), priority_(priority), name_(name), statsName_(name.stdString()) {
   scheduler_->add(*this);
}

Runnable::~Runnable() { scheduler_->remove(*this); }

bool Runnable::scheduleTask() { return scheduler_->schedule(*this); }

void Runnable::scheduleAfter(std::chrono::nanoseconds delay) {
   scheduler_->scheduleAt(*this, Clock::now() + std::min<std::chrono::nanoseconds>(delay, std::chrono::years(1)));
}

bool Runnable::taskScheduled() const {
   std::lock_guard const lock(scheduler_->mutex_);
   return place_.has_value();
}

bool Runnable::taskRunning() const {
   std::lock_guard const lock(scheduler_->mutex_);
   return scheduler_->running_ == this;
}

bool Runnable::taskShouldYield() const {
   std::lock_guard const lock(scheduler_->mutex_);
   return scheduler_->running_ == this &&
          std::chrono::duration<Qor::Seconds>(Clock::now() - scheduler_->runStart_).count() >= quantum_;
}

Qor::Seconds Runnable::taskQuantum() const {
   std::lock_guard const lock(scheduler_->mutex_);
   return quantum_;
}

void Runnable::taskQuantumIs(Qor::Seconds quantum) {
   std::lock_guard const lock(scheduler_->mutex_);
   quantum_ = quantum;
}

void Runnable::taskWorkCountInc(std::uint64_t count) {
   std::lock_guard const lock(scheduler_->mutex_);
   workCount_ += count;
}

void Runnable::taskWorkPendingIs(std::uint32_t pending) {
   std::lock_guard const lock(scheduler_->mutex_);
   workPending_ = pending;
}

void Runnable::statsNameIs(std::string name) {
   std::lock_guard const lock(scheduler_->mutex_);
   statsName_ = std::move(name);
}

void Runnable::resetStats() {
   std::lock_guard const lock(scheduler_->mutex_);
   runs_ = 0;
   workCount_ = 0;
   workPending_ = 0;
}

}  // namespace Loom
