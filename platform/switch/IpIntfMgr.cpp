#include "platform/switch/IpIntfMgr.h"

#include <fmt/format.h>

namespace velm::embedded {

IpIntfMgr::IpIntfMgr(CallLedger& ledger, MainLoop& loop, IntfTable& intfs)
   : loop_(loop),
     intfs_(intfs),
     exists_(ledger, "ip_intf_mgr.exists"),
     ip_addrs_(ledger, "ip_intf_mgr.ip_addrs"),
     ip_addrs_is_(ledger, "ip_intf_mgr.ip_addrs_is"),
     ip_addr_add_(ledger, "ip_intf_mgr.ip_addr_add"),
     ip_addr_del_(ledger, "ip_intf_mgr.ip_addr_del"),
     merge_mode_(ledger, "ip_intf_mgr.ip_addr_merge_mode"),
     merge_mode_is_(ledger, "ip_intf_mgr.ip_addr_merge_mode_is"),
     vlan_(ledger, "ip_intf_mgr.internal_vlan_id") {
   intfs_.onChange([this](intf_id_t const& intf, Intf const* now) {
      if (now == nullptr) table_.del(intf);
   });
}

std::set<ip_addr_mask_t> IpIntfMgr::addrsOf(intf_id_t intf) const {
   IpIntf const* row = table_.find(intf);
   return row == nullptr ? std::set<ip_addr_mask_t>() : row->addrs;
}

void IpIntfMgr::replace(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   if (!intfs_.contains(intf)) throw configuration_error(fmt::format("no such interface {}", intf.to_string()));
   for (auto const& addr : addrs) check_length(addr);
   auto const before = addrsOf(intf);
   table_.update(intf, [&](IpIntf& row) { row.addrs = addrs; });
   for (auto const& addr : before) {
      if (addrs.contains(addr)) continue;
      loop_.post([this, intf, addr] { notify(intf, [&](ip_intf_handler& h) { h.on_ip_addr_del(intf, addr); }); });
   }
   for (auto const& addr : addrs) {
      if (before.contains(addr)) continue;
      loop_.post([this, intf, addr] { notify(intf, [&](ip_intf_handler& h) { h.on_ip_addr_add(intf, addr); }); });
   }
}

bool IpIntfMgr::exists(intf_id_t intf) const {
   Call const call(exists_);
   return intfs_.contains(intf);
}

std::set<ip_addr_mask_t> IpIntfMgr::ip_addrs(intf_id_t intf) const {
   Call const call(ip_addrs_);
   return addrsOf(intf);
}

void IpIntfMgr::ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   Call const call(ip_addrs_is_);
   replace(intf, addrs);
}

void IpIntfMgr::ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(ip_addr_add_);
   auto addrs = addrsOf(intf);
   addrs.insert(addr);
   replace(intf, addrs);
}

void IpIntfMgr::ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(ip_addr_del_);
   auto addrs = addrsOf(intf);
   if (addrs.erase(addr) > 0) replace(intf, addrs);
}

bool IpIntfMgr::ip_addr_merge_mode() const {
   Call const call(merge_mode_);
   return mergeMode_;
}

void IpIntfMgr::ip_addr_merge_mode_is(bool merge) {
   Call const call(merge_mode_is_);
   mergeMode_ = merge;
}

unsigned short IpIntfMgr::internal_vlan_id(intf_id_t intf) const {
   Call const call(vlan_);
   IpIntf const* row = table_.find(intf);
   return row == nullptr ? static_cast<unsigned short>(0) : row->internalVlanId;
}

}  // namespace velm::embedded
