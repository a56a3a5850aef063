#pragma once

#include <chrono>

namespace VelmSdkRpc::fuzz {

/// Lets time pass. std::chrono::steady_clock stands still otherwise in a harness that has this clock, so that one input
/// is one course of events.
void pass(std::chrono::nanoseconds time);

}  // namespace VelmSdkRpc::fuzz
