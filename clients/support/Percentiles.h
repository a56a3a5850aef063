#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace VelmSdkRpc {

/// Times that something took, summed up: the middle, the one that one in a hundred exceeds, and the longest; in the
/// unit in which they were given.
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

}  // namespace VelmSdkRpc
