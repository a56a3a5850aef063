#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace VelmSdkRpc::soak {

using Clock = std::chrono::steady_clock;

/// The end of the run, for which its threads wait between what they do. Thread-safe.
class Halt {
 public:
   void now() {
      {
         std::lock_guard const lock(mutex_);
         isNow_ = true;
      }
      all_.notify_all();
   }
   bool isNow() const {
      std::lock_guard const lock(mutex_);
      return isNow_;
   }
   /// False if the end came before the time.
   bool awaitTime(Clock::time_point time) const {
      std::unique_lock lock(mutex_);
      return !all_.wait_until(lock, time, [this] { return isNow_; });
   }

 private:
   mutable std::mutex mutex_;
   mutable std::condition_variable all_;
   bool isNow_ = false;  // guarded by mutex_
};

/// Calls fn() once in each period until the end; a beat that is late is not caught up with.
template <class Fn>
void eachBeat(Halt const& halt, Clock::duration period, Fn&& fn) {
   auto next = Clock::now();
   do {
      fn();
      next = std::max(next + period, Clock::now());
   } while (halt.awaitTime(next));
}

}  // namespace VelmSdkRpc::soak
