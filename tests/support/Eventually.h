#pragma once

#include <chrono>
#include <thread>

namespace VelmSdkRpc {

/// Waits for a condition, checking it again and again; false once the time is over. It is checked at least once.
template <class Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
   auto const deadline = std::chrono::steady_clock::now() + timeout;
   while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
   }
   return true;
}

}  // namespace VelmSdkRpc
