#pragma once

#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "clients/support/Percentiles.h"

namespace VelmSdkRpc::trials {

/// How long something took, each time, in milliseconds. Thread-safe.
class Latencies {
 public:
   void addSince(std::chrono::steady_clock::time_point begin) {
      auto const took = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
      std::lock_guard const lock(mutex_);
      times_.push_back(took);
   }
   /// Those since the last time.
   std::vector<double> take() {
      std::lock_guard const lock(mutex_);
      return std::exchange(times_, {});
   }

 private:
   std::mutex mutex_;
   std::vector<double> times_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc::trials
