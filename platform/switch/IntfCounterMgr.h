#pragma once

#include "platform/switch/IntfMgr.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/intf.h"

namespace velm::embedded {

/// The traffic that has passed an interface. Not kept across a restart.
struct IntfTraffic {
   intf_counters_t counters;
   intf_traffic_rates_t rates;
};

/// Counters and rates: the dataplane's, where it counts, or those that the command line sets; these go with their
/// interface.
class IntfCounterMgr : public intf_counter_mgr, public IntfFollower {
 public:
   IntfCounterMgr(CallLedger& ledger, IntfMgr& intfs);

   /// The dataplane is asked for the traffic. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { dataplane_ = &dataplane; }
   /// All zero for an interface that has seen nothing or does not exist.
   IntfTraffic traffic(intf_id_t intf) const;
   /// The world outside: throws configuration_error for an interface that does not exist.
   void trafficIs(intf_id_t intf, IntfTraffic const& traffic);

   intf_counters_t intf_counters(intf_id_t intf) const override;
   intf_traffic_rates_t intf_traffic_rates(intf_id_t intf) const override;

   void intfRemoved(Transaction& transaction, intf_id_t intf) override;

 private:
   IntfMgr& intfs_;
   Dataplane* dataplane_ = nullptr;  // set before the first operation
   Table<intf_id_t, IntfTraffic> table_;
   Operations<"intf_counter_mgr", "intf_counters", "intf_traffic_rates"> operations_;
};

}  // namespace velm::embedded
