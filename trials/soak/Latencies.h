#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace VelmSdkRpc::soak {

/// Of times in milliseconds: the middle, what one in a hundred exceeds, the longest.
struct Percentiles {
   double p50 = 0;
   double p99 = 0;
   double max = 0;
};

/// All 0 if there are no times.
inline Percentiles percentilesOf(std::vector<double> times) {
   if (times.empty()) return {};
   std::ranges::sort(times);
   auto const at = [&](double share) {
      return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
   };
   return {at(0.5), at(0.99), times.back()};
}

/// How long something took, each time, in milliseconds. Thread-safe.
class Latencies {
 public:
   void add(double milliseconds) {
      std::lock_guard const lock(mutex_);
      times_.push_back(milliseconds);
   }
   /// What came since the last time.
   std::vector<double> take() {
      std::lock_guard const lock(mutex_);
      return std::exchange(times_, {});
   }

 private:
   std::mutex mutex_;
   std::vector<double> times_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc::soak
