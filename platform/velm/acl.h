#pragma once

#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The access lists of the switch, edited in a staged copy.
class acl_mgr {
 public:
   virtual ~acl_mgr() = default;
   /// Makes the staged copy the committed one.
   virtual void acl_commit() = 0;
};

}  // namespace velm
