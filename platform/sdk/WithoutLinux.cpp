#include "platform/sdk/Dataplanes.h"

namespace velm::embedded {

DataplaneFactory linuxDataplane(Options const& /*options*/) {
   return [](DataplaneSurroundings const&) -> std::unique_ptr<Dataplane> {
      throw unsupported_error("this build has no Linux dataplane");
   };
}

}  // namespace velm::embedded
