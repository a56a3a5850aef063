#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>

namespace VelmSdkRpc::trials {

using Clock = std::chrono::steady_clock;

/// Waits for the time; false if the stop came before it.
inline bool awaitTime(std::stop_token const& stop, Clock::time_point time) {
   std::mutex mutex;
   std::condition_variable_any never;
   std::unique_lock lock(mutex);
   never.wait_until(lock, stop, time, [] { return false; });
   return !stop.stop_requested();
}

/// Calls fn() once in each period until the stop; a beat that is late is not caught up with.
template <class Fn>
void eachBeat(std::stop_token const& stop, Clock::duration period, Fn&& fn) {
   auto next = Clock::now();
   do {
      fn();
      next = std::max(next + period, Clock::now());
   } while (awaitTime(stop, next));
}

/// A thread that does something again and again, until this object goes or the something gives false.
inline std::jthread again(std::function<bool()> something) {
   return std::jthread([something = std::move(something)](std::stop_token const& stop) {
      while (!stop.stop_requested() && something()) continue;
   });
}

}  // namespace VelmSdkRpc::trials
