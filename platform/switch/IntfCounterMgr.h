#pragma once

#include "platform/switch/CallLedger.h"
#include "platform/switch/IntfMgr.h"
#include "platform/switch/Table.h"
#include "platform/velm/intf.h"

namespace velm::embedded {

/// What has passed an interface. Not kept across a restart.
struct IntfTraffic {
   intf_counters_t counters;
   intf_traffic_rates_t rates;
};

/// Counters and rates; they go with their interface.
class IntfCounterMgr : public intf_counter_mgr, public IntfFollower {
 public:
   IntfCounterMgr(CallLedger& ledger, IntfMgr& intfs);

   /// All zero for an interface that has seen nothing or does not exist.
   IntfTraffic traffic(intf_id_t intf) const;
   /// The world outside: throws configuration_error for an interface that does not exist.
   void trafficIs(intf_id_t intf, IntfTraffic const& traffic);

   intf_counters_t intf_counters(intf_id_t intf) const override;
   intf_traffic_rates_t intf_traffic_rates(intf_id_t intf) const override;

   void intfRemoved(Change& change, intf_id_t intf) override;

 private:
   IntfMgr& intfs_;
   Table<intf_id_t, IntfTraffic> table_;
   mutable Operation intf_counters_;
   mutable Operation intf_traffic_rates_;
};

}  // namespace velm::embedded
