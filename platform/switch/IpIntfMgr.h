#pragma once

#include <set>

#include "platform/switch/CallLedger.h"
#include "platform/switch/IntfMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Table.h"
#include "platform/velm/ip_intf.h"

namespace velm::embedded {

/// The IP side of an interface.
struct IpIntf {
   std::set<ip_addr_mask_t> addrs;
   unsigned short internalVlanId = 0;
};

/// Addresses of interfaces; they go with their interface.
class IpIntfMgr : public ip_intf_mgr {
 public:
   IpIntfMgr(CallLedger& ledger, MainLoop& loop, IntfTable& intfs);

   bool exists(intf_id_t intf) const override;
   std::set<ip_addr_mask_t> ip_addrs(intf_id_t intf) const override;
   void ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) override;
   void ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) override;
   void ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) override;
   bool ip_addr_merge_mode() const override;
   void ip_addr_merge_mode_is(bool merge) override;
   unsigned short internal_vlan_id(intf_id_t intf) const override;

 private:
   std::set<ip_addr_mask_t> addrsOf(intf_id_t intf) const;
   void replace(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs);

   MainLoop& loop_;
   IntfTable& intfs_;
   Table<intf_id_t, IpIntf> table_;
   bool mergeMode_ = false;

   mutable Operation exists_;
   mutable Operation ip_addrs_;
   mutable Operation ip_addrs_is_;
   mutable Operation ip_addr_add_;
   mutable Operation ip_addr_del_;
   mutable Operation merge_mode_;
   mutable Operation merge_mode_is_;
   mutable Operation vlan_;
};

}  // namespace velm::embedded
