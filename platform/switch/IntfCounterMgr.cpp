#include "platform/switch/IntfCounterMgr.h"

namespace velm::embedded {

IntfCounterMgr::IntfCounterMgr(CallLedger& ledger, IntfMgr& intfs)
   : intfs_(intfs),
     intf_counters_(ledger, "intf_counter_mgr.intf_counters"),
     intf_traffic_rates_(ledger, "intf_counter_mgr.intf_traffic_rates") {
   intfs_.followerIs(*this);
}

IntfTraffic IntfCounterMgr::traffic(intf_id_t intf) const {
   IntfTraffic const* const row = table_.find(intf);
   return row == nullptr ? IntfTraffic() : *row;
}

void IntfCounterMgr::trafficIs(intf_id_t intf, IntfTraffic const& traffic) {
   intfs_.demand(intf);
   table_.set(intf, traffic);
}

intf_counters_t IntfCounterMgr::intf_counters(intf_id_t intf) const {
   Call const call(intf_counters_);
   return traffic(intf).counters;
}

intf_traffic_rates_t IntfCounterMgr::intf_traffic_rates(intf_id_t intf) const {
   Call const call(intf_traffic_rates_);
   return traffic(intf).rates;
}

void IntfCounterMgr::intfRemoved(Change& change, intf_id_t intf) { table_.del(change.rows(), intf); }

}  // namespace velm::embedded
