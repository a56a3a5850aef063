#pragma once

#include <set>

#include "platform/switch/IntfMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/ip_intf.h"

namespace velm::embedded {

/// The IP side of an interface.
struct IpIntf {
   std::set<ip_addr_mask_t> addrs;
   unsigned short internalVlanId = 0;

   static constexpr auto attributes() {
      return std::tuple{attribute{"ip_addrs", &IpIntf::addrs}, attribute{"internal_vlan_id", &IpIntf::internalVlanId}};
   }
};

/// An agent's wishes for the handling of an interface's addresses.
struct IpIntfSettings {
   bool mergeMode = false;

   static constexpr auto attributes() {
      return std::tuple{attribute{"ip_addr_merge_mode", &IpIntfSettings::mergeMode}};
   }
};

/// Addresses of interfaces; they go with their interface. A row is there when something in it was set.
class IpIntfMgr : public ip_intf_mgr, public IntfFollower, public AddressReports {
 public:
   IpIntfMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs);

   /// The dataplane carries the addresses out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.ipIntfs()); }
   /// Brings the folder's addresses and settings back, without events, and keeps every change in it.
   void storeIs(Store& store);
   /// The world outside: throws configuration_error for an interface that does not exist.
   void internalVlanIs(intf_id_t intf, unsigned short vlan);

   bool exists(intf_id_t intf) const override;
   std::set<ip_addr_mask_t> ip_addrs(intf_id_t intf) const override;
   void ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) override;
   void ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) override;
   void ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) override;
   bool ip_addr_merge_mode(intf_id_t intf) const override;
   void ip_addr_merge_mode_is(intf_id_t intf, bool merge) override;
   unsigned short internal_vlan_id(intf_id_t intf) const override;

   void intfRemoved(Transaction& transaction, intf_id_t intf) override;
   void addressesAre(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) override;

 private:
   IpIntf row(intf_id_t intf) const;
   void rowIs(intf_id_t intf, IpIntf next);
   void addrsAre(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs);
   /// Has the transaction raise what differs between the two.
   void watch(Transaction& transaction, intf_id_t intf, IpIntf const& before, IpIntf const& after);
   template <class Fn>
   void raise(Transaction& transaction, intf_id_t intf, Fn fn);

   MainLoop& loop_;
   IntfMgr& intfs_;
   Table<intf_id_t, IpIntf> table_;
   Table<intf_id_t, IpIntfSettings> settings_;

   Operations<"ip_intf_mgr", "exists", "ip_addrs", "ip_addrs_is", "ip_addr_add", "ip_addr_del", "ip_addr_merge_mode",
              "ip_addr_merge_mode_is", "internal_vlan_id">
      operations_;
};

}  // namespace velm::embedded
