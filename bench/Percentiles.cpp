#include "bench/Percentiles.h"

#include <algorithm>

namespace VelmSdkRpc::Bench {

Percentiles percentilesOf(std::vector<double> values) {
   std::ranges::sort(values);
   return {values[values.size() / 2], values[values.size() * 99 / 100], values.back()};
}

}  // namespace VelmSdkRpc::Bench
