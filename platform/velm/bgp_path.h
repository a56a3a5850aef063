#pragma once

#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The BGP paths that the switch has received.
class bgp_path_mgr {
 public:
   virtual ~bgp_path_mgr() = default;
   /// Whether BGP has converged for the family.
   virtual bool ipv4_unicast_bgp_convergence() const = 0;
   virtual bool ipv6_unicast_bgp_convergence() const = 0;
};

}  // namespace velm
