#include "platform/switch/IpIntfMgr.h"

#include <fmt/format.h>

#include <utility>

namespace velm::embedded {
namespace {

void check(std::set<ip_addr_mask_t> const& addrs) {
   for (auto const& addr : addrs) {
      if (addr.af() == af_t::none) throw invalid_argument_error("a null address is no address of an interface");
      check_length(addr);
   }
}

}  // namespace

IpIntfMgr::IpIntfMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs)
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
   intfs_.followerIs(*this);
}

void IpIntfMgr::storeIs(Store& store) {
   table_.storeIs(store, StoredTable::ipIntfs);
   settings_.storeIs(store, StoredTable::ipIntfSettings);
}

IpIntf IpIntfMgr::row(intf_id_t intf) const {
   IpIntf const* const row = table_.find(intf);
   return row == nullptr ? IpIntf() : *row;
}

template <class Fn>
void IpIntfMgr::raise(Change& change, intf_id_t intf, Fn fn) {
   change.then([this, intf, fn = std::move(fn)] { loop_.post([this, intf, fn] { notify(intf, fn); }); });
}

void IpIntfMgr::watch(Change& change, intf_id_t intf, IpIntf const& before, IpIntf const& after) {
   for (auto const& addr : before.addrs) {
      if (after.addrs.contains(addr)) continue;
      raise(change, intf, [intf, addr](ip_intf_handler& handler) { handler.on_ip_addr_del(intf, addr); });
   }
   for (auto const& addr : after.addrs) {
      if (before.addrs.contains(addr)) continue;
      raise(change, intf, [intf, addr](ip_intf_handler& handler) { handler.on_ip_addr_add(intf, addr); });
   }
   if (auto const vlan = after.internalVlanId; vlan != before.internalVlanId) {
      raise(change, intf, [intf, vlan](ip_intf_handler& handler) { handler.on_internal_vlan_id(intf, vlan); });
   }
}

void IpIntfMgr::rowIs(intf_id_t intf, IpIntf next) {
   Change change;
   watch(change, intf, row(intf), next);
   table_.set(change.rows(), intf, std::move(next));
   change.commit();
}

void IpIntfMgr::addrsAre(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   intfs_.demand(intf);
   check(addrs);
   auto next = row(intf);
   next.addrs = addrs;
   rowIs(intf, std::move(next));
}

void IpIntfMgr::internalVlanIs(intf_id_t intf, unsigned short vlan) {
   intfs_.demand(intf);
   auto next = row(intf);
   next.internalVlanId = vlan;
   rowIs(intf, std::move(next));
}

void IpIntfMgr::intfRemoved(Change& change, intf_id_t intf) {
   watch(change, intf, row(intf), {});
   table_.del(change.rows(), intf);
   settings_.del(change.rows(), intf);
}

bool IpIntfMgr::exists(intf_id_t intf) const {
   Call const call(exists_);
   return intfs_.table().contains(intf);
}

std::set<ip_addr_mask_t> IpIntfMgr::ip_addrs(intf_id_t intf) const {
   Call const call(ip_addrs_);
   return row(intf).addrs;
}

void IpIntfMgr::ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   Call const call(ip_addrs_is_);
   addrsAre(intf, addrs);
}

void IpIntfMgr::ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(ip_addr_add_);
   auto addrs = row(intf).addrs;
   addrs.insert(addr);
   addrsAre(intf, addrs);
}

void IpIntfMgr::ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(ip_addr_del_);
   auto addrs = row(intf).addrs;
   if (addrs.erase(addr) > 0) addrsAre(intf, addrs);
}

bool IpIntfMgr::ip_addr_merge_mode(intf_id_t intf) const {
   Call const call(merge_mode_);
   IpIntfSettings const* const settings = settings_.find(intf);
   return settings != nullptr && settings->mergeMode;
}

void IpIntfMgr::ip_addr_merge_mode_is(intf_id_t intf, bool merge) {
   Call const call(merge_mode_is_);
   intfs_.demand(intf);
   settings_.set(intf, {merge});
}

unsigned short IpIntfMgr::internal_vlan_id(intf_id_t intf) const {
   Call const call(vlan_);
   return row(intf).internalVlanId;
}

}  // namespace velm::embedded
