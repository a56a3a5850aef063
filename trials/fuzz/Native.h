#pragma once

#include <string_view>

#include "trials/fuzz/Choices.h"

namespace VelmSdkRpc::fuzz {

/// One life of the native service above a switch, without a wire: requests of one programmer, or of all for the name
/// "All", in any order, with sessions and resyncs, switch commands, events and the passing of time between them. Ends
/// the process where an answer is not what it must be, where a refused request has changed something, and where in the
/// end the switch does not hold what a plain model says.
void playNative(std::string_view programmer, Choices choices);

}  // namespace VelmSdkRpc::fuzz
