#pragma once

#include <chrono>

namespace velm::embedded {

/// The time as the SDK's time stamps have it: seconds since the epoch.
inline double timestamp() {
   return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace velm::embedded
