#pragma once

#include <string>

#include "platform/switch/CallLedger.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Table.h"
#include "platform/velm/intf.h"

namespace velm::embedded {

/// An interface as the switch keeps it.
struct Intf {
   bool adminEnabled = true;
   oper_status_t link = oper_status_t::up;
   std::string description;
   intf_counters_t counters;
   intf_traffic_rates_t rates;

   oper_status_t operStatus() const { return adminEnabled ? link : oper_status_t::down; }
};
using IntfTable = Table<intf_id_t, Intf>;

/// Interfaces: 32 Ethernet ports and a management port at first, all enabled and up.
class IntfMgr : public intf_mgr {
 public:
   IntfMgr(CallLedger& ledger, MainLoop& loop);

   /// The dataplane learns of every interface there is, and from then on of every change.
   void dataplaneIs(Dataplane& dataplane);
   IntfTable& table() { return table_; }

   intf_iter_t intf_iter() const override;
   bool exists(intf_id_t intf) const override;
   std::string kernel_intf_name(intf_id_t intf) const override;
   intf_id_t velm_intf_name(std::string const& kernel_name) const override;
   bool admin_enabled(intf_id_t intf) const override;
   void admin_enabled_is(intf_id_t intf, bool enabled) override;
   std::string description(intf_id_t intf) const override;
   void description_is(intf_id_t intf, std::string const& description) override;
   oper_status_t oper_status(intf_id_t intf) const override;

   // The world outside, for the command line.

   /// Creates the interface if it does not exist. Throws invalid_argument_error for the empty name.
   void create(intf_id_t intf);
   /// Removes it; one that is absent is no error.
   void remove(intf_id_t intf);
   void linkIs(intf_id_t intf, oper_status_t link);

 private:
   /// Changes an interface and raises what changed: the admin state's event before that of the oper state.
   template <class Fn>
   void change(intf_id_t intf, Fn&& fn);
   template <class Fn>
   void raise(intf_id_t intf, Fn fn);

   IntfTable table_;
   MainLoop& loop_;
   Dataplane* dataplane_ = nullptr;

   mutable Operation intf_iter_;
   mutable Operation exists_;
   mutable Operation kernel_intf_name_;
   mutable Operation velm_intf_name_;
   mutable Operation admin_enabled_;
   mutable Operation admin_enabled_is_;
   mutable Operation description_;
   mutable Operation description_is_;
   mutable Operation oper_status_;
};

class IntfCounterMgr : public intf_counter_mgr {
 public:
   IntfCounterMgr(CallLedger& ledger, IntfTable const& intfs);
   intf_counters_t intf_counters(intf_id_t intf) const override;
   intf_traffic_rates_t intf_traffic_rates(intf_id_t intf) const override;

 private:
   IntfTable const& intfs_;
   mutable Operation intf_counters_;
   mutable Operation intf_traffic_rates_;
};

}  // namespace velm::embedded
