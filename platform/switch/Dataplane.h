#pragma once

#include <string>

#include "platform/velm/intf.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/nexthop_group.h"

namespace velm::embedded {

/// What the dataplane reports back, on the main loop, under the SDK lock.
class DataplaneReports {
 public:
   virtual ~DataplaneReports() = default;
   virtual void groupProgrammed(std::string const& name, unsigned short version) = 0;
   virtual void groupActive(std::string const& name, bool active) = 0;
   virtual void groupGone(std::string const& name) = 0;
};

/// What carries out the tables. Each call only queues the work; it is done and reported later, in the order of the
/// calls, on the main loop. Called under the SDK lock.
class Dataplane {
 public:
   virtual ~Dataplane() = default;
   virtual void groupIs(nexthop_group_t const& group) = 0;
   virtual void groupDel(std::string const& name) = 0;
   /// The interface came, went, or changed its state.
   virtual void intfIs(intf_id_t intf, oper_status_t status) = 0;
};

}  // namespace velm::embedded
