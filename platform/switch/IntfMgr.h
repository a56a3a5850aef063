#pragma once

#include <string>
#include <vector>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/intf.h"

namespace velm::embedded {

/// An interface as the switch keeps it; what it does at any moment follows from more than this (see operStatus).
struct Intf {
   bool adminEnabled = true;
   oper_status_t link = oper_status_t::up;
   std::string description;

   bool operator==(Intf const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"admin_enabled", &Intf::adminEnabled}, attribute{"link", &Intf::link},
                        attribute{"description", &Intf::description}};
   }
};
using IntfTable = Table<intf_id_t, Intf>;

/// A part of the switch that hangs on interfaces and takes part in their changes. Each call stages its rows in the
/// transaction and has it raise their events; tables read as before it. Called under the SDK lock.
class IntfFollower {
 public:
   virtual ~IntfFollower() = default;
   /// The interface is new; its own event comes first.
   virtual void intfCreated(Transaction&, intf_id_t) {}
   /// The interface's states change; its own events come first.
   virtual void intfChanged(Transaction&, intf_id_t) {}
   /// The interface goes; its own event comes last.
   virtual void intfRemoved(Transaction&, intf_id_t) {}
   /// Whether the interface is down although its link is not.
   virtual bool holdsDown(intf_id_t) const { return false; }
};

/// Interfaces. Where the dataplane is simulated, there are 32 Ethernet ports and a management port at first, all
/// enabled and up; else those that the machine has.
class IntfMgr : public intf_mgr, public PortReports {
 public:
   IntfMgr(CallLedger& ledger, MainLoop& loop);

   /// The dataplane carries the interfaces out, and learns of every change of a state. Once, before the first
   /// operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane);
   /// Brings the folder's interfaces back and keeps every change in it. No event is raised; the dataplane learns of
   /// what came back, and of ports that are gone.
   void storeIs(Store& store);
   /// Tells the dataplane the state of the interface. For managers that have brought back rows from which it follows.
   void tellDataplane(intf_id_t intf);
   /// Followers are asked in the order in which they came. They are not owned and stay.
   void followerIs(IntfFollower& follower) { followers_.push_back(&follower); }

   IntfTable const& table() const { return table_; }
   /// Unknown for an interface that does not exist.
   oper_status_t operStatus(intf_id_t intf) const;
   /// The interface's name in the kernel, whether it exists or not.
   std::string kernelName(intf_id_t intf) const { return dataplane_->kernelName(intf); }
   /// Throws configuration_error for an interface that does not exist.
   void demand(intf_id_t intf) const;

   /// Creates the interface if it does not exist. Throws invalid_argument_error for the empty name.
   void create(intf_id_t intf);
   /// Removes it and all that hangs on it; one that is absent is no error.
   void remove(intf_id_t intf);
   /// Has the transaction raise the events of what it alters of the interface, directly or not.
   void watch(Transaction& transaction, intf_id_t intf);

   intf_iter_t intf_iter() const override;
   bool exists(intf_id_t intf) const override;
   std::string kernel_intf_name(intf_id_t intf) const override;
   intf_id_t velm_intf_name(std::string const& kernel_name) const override;
   bool admin_enabled(intf_id_t intf) const override;
   void admin_enabled_is(intf_id_t intf, bool enabled) override;
   std::string description(intf_id_t intf) const override;
   void description_is(intf_id_t intf, std::string const& description) override;
   oper_status_t oper_status(intf_id_t intf) const override;

   void portIs(intf_id_t intf, Intf const& intfNow) override;
   void portGone(intf_id_t intf) override;

   /// The world outside, under the SDK lock: throws configuration_error for an interface that does not exist.
   void linkIs(intf_id_t intf, oper_status_t link);

 private:
   template <class Fn>
   void amend(intf_id_t intf, Fn&& fn);
   // What comes with a change of an interface's row beside the row, which the caller stages last.
   void change(Transaction& transaction, intf_id_t intf);
   void remove(Transaction& transaction, intf_id_t intf);
   /// The same of a new one, whose row the caller has staged.
   void created(Transaction& transaction, intf_id_t intf);
   void raiseDifferences(intf_id_t intf, Intf const& before, oper_status_t statusBefore);
   template <class Fn>
   void raise(intf_id_t intf, Fn fn);
   void raiseStatus(intf_id_t intf, oper_status_t status);

   IntfTable table_;
   MainLoop& loop_;
   Dataplane* dataplane_ = nullptr;  // set before the first operation
   std::vector<IntfFollower*> followers_;

   Operations<"intf_mgr", "intf_iter", "exists", "kernel_intf_name", "velm_intf_name", "admin_enabled",
              "admin_enabled_is", "description", "description_is", "oper_status">
      operations_;
};

}  // namespace velm::embedded
