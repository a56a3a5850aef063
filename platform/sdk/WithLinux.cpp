#include "platform/linux/LinuxDataplane.h"
#include "platform/sdk/Dataplanes.h"

namespace velm::embedded {

DataplaneFactory linuxDataplane(Options const& options) {
   return [capacity = options.capacity](DataplaneSurroundings const& surroundings) {
      return machine::makeLinuxDataplane(surroundings, capacity);
   };
}

}  // namespace velm::embedded
