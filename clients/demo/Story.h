#pragma once

#include "clients/support/AgentProcess.h"

namespace VelmSdkRpc::demo {

/// Plays a controller against the agent, from its start to its stop, and tells on stdout what it does and why. Every
/// claim is checked: throws std::runtime_error for the first one that does not hold.
void tellStory(AgentProcess& agent);

}  // namespace VelmSdkRpc::demo
