#pragma once

#include <vector>

namespace VelmSdkRpc::Bench {

/// Of times that something took: the middle, what one in a hundred exceeds, the longest.
struct Percentiles {
   double p50 = 0;
   double p99 = 0;
   double max = 0;
};

/// At least one value.
Percentiles percentilesOf(std::vector<double> values);

}  // namespace VelmSdkRpc::Bench
