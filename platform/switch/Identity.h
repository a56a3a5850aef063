#pragma once

#include <string_view>

namespace velm::embedded {

/// The name by which the switch calls the agent.
inline constexpr std::string_view agentName = "VelmSdkRpc";
/// The version that the build names.
inline constexpr std::string_view agentVersion = VELM_VERSION;

}  // namespace velm::embedded
