#pragma once

#include <chrono>

namespace VelmSdkRpc::Bench {

/// How long a change took, in milliseconds from just before the call that makes it.
struct Delay {
   using Time = std::chrono::steady_clock::time_point;

   Delay(Time begin, Time answeredAt, Time heardAt)
      : answered(milliseconds(answeredAt - begin)), heard(milliseconds(heardAt - begin)) {}

   double answered;  // until the call is answered
   double heard;     // until the last one who listens has read of it

 private:
   static double milliseconds(std::chrono::duration<double, std::milli> time) { return time.count(); }
};

}  // namespace VelmSdkRpc::Bench
