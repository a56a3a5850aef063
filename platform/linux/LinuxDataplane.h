#pragma once

#include <memory>

#include "platform/switch/Dataplane.h"

namespace velm::machine {

/// The dataplane of a Linux machine: its devices are the switch's ports, and an XDP program forwards by what the tables
/// say. An answer to a client means that the next packet goes that way. Throws velm::error, with one line, where the
/// machine lacks what is needed.
std::unique_ptr<embedded::Dataplane> makeLinuxDataplane(embedded::DataplaneSurroundings const& surroundings,
                                                        embedded::DataplaneCapacity const& capacity);

}  // namespace velm::machine
