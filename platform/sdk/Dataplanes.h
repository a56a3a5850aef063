#pragma once

#include "platform/switch/Options.h"

namespace velm::embedded {

/// What makes the dataplane that the options name.
DataplaneFactory dataplaneOf(Options const& options);

/// What makes the one of the machine. In a build without it, what throws velm::error that says so. Each build has one
/// of the sources that define it.
DataplaneFactory linuxDataplane(Options const& options);

}  // namespace velm::embedded
