#include "platform/sdk/Dataplanes.h"

#include "platform/switch/SimulatedDataplane.h"

namespace velm::embedded {

DataplaneFactory dataplaneOf(Options const& options) {
   return options.dataplane == "linux" ? linuxDataplane(options) : makeSimulatedDataplane;
}

}  // namespace velm::embedded
