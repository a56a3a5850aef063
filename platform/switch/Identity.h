#pragma once

#include <string_view>

namespace velm::embedded {

/// What the agent is called by the switch.
inline constexpr std::string_view agentName = "VelmSdkRpc";
/// The version that the build names.
inline constexpr std::string_view agentVersion = VELM_VERSION;

}  // namespace velm::embedded
