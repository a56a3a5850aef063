#pragma once

#include <cstdint>
#include <string>

namespace VelmSdkRpc::storm {

/// Sends each kind of request that ends the agent by contract to an agent of its own, which must end by SIGABRT with
/// the text that goes with it on stderr, and no other. Tells of each; returns whether all went so.
bool runLethal(std::string const& program, std::uint32_t seed);

}  // namespace VelmSdkRpc::storm
