#include "platform/switch/IntfCounterMgr.h"

// Where no packets pass, counters are written by the command line alone. They follow the interfaces for one reason: a
// new interface of an old name must begin at zero.
namespace velm::embedded {

IntfCounterMgr::IntfCounterMgr(CallLedger& ledger, IntfMgr& intfs) : intfs_(intfs), operations_(ledger) {
   intfs_.followerIs(*this);
}

IntfTraffic IntfCounterMgr::traffic(intf_id_t intf) const {
   if (auto const real = dataplane_->traffic(intf)) return *real;
   IntfTraffic const* const row = table_.find(intf);
   return row == nullptr ? IntfTraffic() : *row;
}

void IntfCounterMgr::trafficIs(intf_id_t intf, IntfTraffic const& traffic) {
   intfs_.demand(intf);
   Inside const inside(operations_.ledger());
   table_.set(inside, intf, traffic);
}

intf_counters_t IntfCounterMgr::intf_counters(intf_id_t intf) const {
   Call const call(operations_);
   return traffic(intf).counters;
}

intf_traffic_rates_t IntfCounterMgr::intf_traffic_rates(intf_id_t intf) const {
   Call const call(operations_);
   return traffic(intf).rates;
}

void IntfCounterMgr::intfRemoved(Transaction& transaction, intf_id_t intf) { table_.del(transaction, intf); }

}  // namespace velm::embedded
