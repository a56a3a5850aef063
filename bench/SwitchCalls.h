#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// How often operations of the switch's SDK were called, by "manager.operation"; the others are left out.
using CallCounts = std::map<std::string, std::uint64_t>;

/// Since the agent's start. Throws std::runtime_error if the switch does not say.
CallCounts callsOf(Server const& agent);
/// What `after` counts beyond `before`.
CallCounts difference(CallCounts after, CallCounts const& before);

}  // namespace VelmSdkRpc::Bench
