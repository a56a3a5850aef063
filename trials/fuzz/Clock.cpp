#include "trials/fuzz/Clock.h"

namespace {

std::chrono::steady_clock::time_point present{std::chrono::hours(1)};

}  // namespace

// In the place of the library's.
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept { return present; }

void VelmSdkRpc::fuzz::pass(std::chrono::nanoseconds time) { present += time; }
