#include "platform/switch/IpIntfMgr.h"

#include <utility>

// Addresses and settings stand in two tables: a change of the former is compared with what was, for the events that it
// raises, while settings raise none. A set of addresses is replaced as a whole, and its events are the difference:
// first what went, then what came, each in the order of the addresses.
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
   : loop_(loop), intfs_(intfs), operations_(ledger) {
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
void IpIntfMgr::raise(Transaction& transaction, intf_id_t intf, Fn fn) {
   transaction.then([this, intf, fn = std::move(fn)] { loop_.post([this, intf, fn] { notify(intf, fn); }); });
}

void IpIntfMgr::watch(Transaction& transaction, intf_id_t intf, IpIntf const& before, IpIntf const& after) {
   for (auto const& addr : before.addrs) {
      if (after.addrs.contains(addr)) continue;
      raise(transaction, intf, [intf, addr](ip_intf_handler& handler) { handler.on_ip_addr_del(intf, addr); });
   }
   for (auto const& addr : after.addrs) {
      if (before.addrs.contains(addr)) continue;
      raise(transaction, intf, [intf, addr](ip_intf_handler& handler) { handler.on_ip_addr_add(intf, addr); });
   }
   if (auto const vlan = after.internalVlanId; vlan != before.internalVlanId) {
      raise(transaction, intf, [intf, vlan](ip_intf_handler& handler) { handler.on_internal_vlan_id(intf, vlan); });
   }
}

void IpIntfMgr::rowIs(intf_id_t intf, IpIntf next) {
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   watch(transaction, intf, row(intf), next);  // before `next` is given away
   table_.set(transaction, intf, std::move(next));
   transaction.commit();
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

void IpIntfMgr::addressesAre(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   auto const before = row(intf);
   if (!intfs_.table().contains(intf) || before.addrs == addrs) return;
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   auto next = before;
   next.addrs = addrs;
   watch(transaction, intf, before, next);
   table_.setReported(transaction, intf, std::move(next));
   transaction.commitReported();
}

void IpIntfMgr::intfRemoved(Transaction& transaction, intf_id_t intf) {
   watch(transaction, intf, row(intf), {});
   table_.del(transaction, intf);
   settings_.del(transaction, intf);
}

bool IpIntfMgr::exists(intf_id_t intf) const {
   Call const call(operations_);
   return intfs_.table().contains(intf);
}

std::set<ip_addr_mask_t> IpIntfMgr::ip_addrs(intf_id_t intf) const {
   Call const call(operations_);
   return row(intf).addrs;
}

void IpIntfMgr::ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) {
   Call const call(operations_);
   addrsAre(intf, addrs);
}

void IpIntfMgr::ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(operations_);
   auto addrs = row(intf).addrs;
   addrs.insert(addr);
   addrsAre(intf, addrs);
}

void IpIntfMgr::ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) {
   Call const call(operations_);
   auto addrs = row(intf).addrs;
   if (addrs.erase(addr) > 0) addrsAre(intf, addrs);
}

bool IpIntfMgr::ip_addr_merge_mode(intf_id_t intf) const {
   Call const call(operations_);
   IpIntfSettings const* const settings = settings_.find(intf);
   return settings != nullptr && settings->mergeMode;
}

void IpIntfMgr::ip_addr_merge_mode_is(intf_id_t intf, bool merge) {
   Call const call(operations_);
   intfs_.demand(intf);
   settings_.set(call, intf, {merge});
}

unsigned short IpIntfMgr::internal_vlan_id(intf_id_t intf) const {
   Call const call(operations_);
   return row(intf).internalVlanId;
}

}  // namespace velm::embedded
