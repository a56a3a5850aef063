#pragma once

#include <fmt/format.h>

#include <string_view>

#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/Switch.h"
#include "platform/velm/errors.h"

namespace velm::embedded::commands {

/// The simulation, for a command that plays what lies below the switch. Throws unsupported_error that names what is
/// real where there is none, and says what a person can do instead.
inline SimulatedDataplane& simulation(Switch& device, std::string_view what, std::string_view instead) {
   SimulatedDataplane* const simulation = device.dataplane->simulation();
   if (simulation == nullptr) throw unsupported_error(fmt::format("{} is real: {}", what, instead));
   return *simulation;
}

}  // namespace velm::embedded::commands
