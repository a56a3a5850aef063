#include "platform/loom/TaskScheduler.h"

#include <utility>

namespace Loom {

void TaskScheduler::schedule(Runnable& runnable, std::uint8_t priority) {
   std::function<void()> wake;
   {
      std::lock_guard const lock(mutex_);
      Place const place{priority, turns_++};
      if (!places_.emplace(&runnable, place).second) return;
      if (queue_.empty()) wake = wake_;
      queue_.emplace(place, &runnable);
   }
   if (wake) wake();
}

void TaskScheduler::cancel(Runnable& runnable) {
   std::lock_guard const lock(mutex_);
   auto const it = places_.find(&runnable);
   if (it == places_.end()) return;
   queue_.erase(it->second);
   places_.erase(it);
}

bool TaskScheduler::scheduled(Runnable const& runnable) const {
   std::lock_guard const lock(mutex_);
   return places_.contains(&runnable);
}

bool TaskScheduler::pending() const {
   std::lock_guard const lock(mutex_);
   return !queue_.empty();
}

bool TaskScheduler::runOne() {
   Runnable* runnable = nullptr;
   {
      std::lock_guard const lock(mutex_);
      if (queue_.empty()) return false;
      runnable = queue_.begin()->second;
      queue_.erase(queue_.begin());
      places_.erase(runnable);
   }
   runnable->run();
   return true;
}

void TaskScheduler::wakeIs(std::function<void()> wake) {
   std::lock_guard const lock(mutex_);
   wake_ = std::move(wake);
}

TaskScheduler& TaskSchedulerRoot::findOrCreateScheduler() {
   static TaskScheduler scheduler;
   return scheduler;
}

}  // namespace Loom
