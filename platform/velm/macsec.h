#pragma once

#include <string>

#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// Macsec profiles and the interfaces that use them.
class macsec_mgr {
 public:
   virtual ~macsec_mgr() = default;
   virtual bool exists(std::string const& profile) const = 0;
   virtual void profile_del(std::string const& profile) = 0;
   virtual bool macsec_capable(intf_id_t intf) const = 0;
};

}  // namespace velm
