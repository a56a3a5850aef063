#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "trials/support/Tally.h"

namespace VelmSdkRpc::storm {

using trials::Weather;

/// Clients that vanish: processes of this program that call the agent until they are killed by SIGKILL, one after the
/// other, for as long as the thread is. Their calls are not counted.
std::jthread vanishers(std::string address, Weather weather, std::uint32_t seed);

/// The work of such a process. It returns only if nobody kills it.
void vanish(std::string const& address, Weather weather, std::uint32_t seed);

}  // namespace VelmSdkRpc::storm
