#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>

namespace VelmSdkRpc::Bench {

/// The name of the status at a place in the order in which the agent lists them: 16 bytes.
inline std::string statusName(std::size_t place) { return fmt::format("status-{:09}", place); }

}  // namespace VelmSdkRpc::Bench
