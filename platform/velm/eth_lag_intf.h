#pragma once

#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// Link aggregation groups and their members.
class eth_lag_intf_mgr {
 public:
   virtual ~eth_lag_intf_mgr() = default;
   virtual bool exists(intf_id_t lag) const = 0;
   virtual void eth_lag_intf_is(intf_id_t lag) = 0;
   virtual void eth_lag_intf_del(intf_id_t lag) = 0;
};

}  // namespace velm
