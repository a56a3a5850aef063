#include "platform/switch/NexthopGroupTunnelMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

namespace velm::embedded {

NexthopGroupTunnelMgr::NexthopGroupTunnelMgr(CallLedger& ledger)
   : resync_init_(ledger, "nexthop_group_tunnel_mgr.resync_init"),
     resync_complete_(ledger, "nexthop_group_tunnel_mgr.resync_complete"),
     iter_(ledger, "nexthop_group_tunnel_mgr.nexthop_group_tunnel_iter"),
     exists_(ledger, "nexthop_group_tunnel_mgr.exists"),
     tunnel_(ledger, "nexthop_group_tunnel_mgr.nexthop_group_tunnel"),
     set_(ledger, "nexthop_group_tunnel_mgr.nexthop_group_tunnel_set"),
     del_(ledger, "nexthop_group_tunnel_mgr.nexthop_group_tunnel_del") {}

void NexthopGroupTunnelMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::nexthopGroupTunnels); }

void NexthopGroupTunnelMgr::resync_init() {
   Call const call(resync_init_);
   table_.markAll();
}

void NexthopGroupTunnelMgr::resync_complete() {
   Call const call(resync_complete_);
   table_.purge();
}

void NexthopGroupTunnelMgr::prefetch(std::span<ip_prefix_t const> endpoints) const {
   sdk_scoped_lock const lock;
   table_.prefetch(endpoints);
}

nexthop_group_tunnel_iter_t NexthopGroupTunnelMgr::nexthop_group_tunnel_iter() const {
   Call const call(iter_);
   return makeTableIter(table_, [](ip_prefix_t const&, nexthop_group_tunnel_t const& tunnel) { return tunnel; });
}

bool NexthopGroupTunnelMgr::exists(ip_prefix_t const& endpoint) const {
   Call const call(exists_);
   return table_.contains(endpoint);
}

nexthop_group_tunnel_t NexthopGroupTunnelMgr::nexthop_group_tunnel(ip_prefix_t const& endpoint) const {
   Call const call(tunnel_);
   nexthop_group_tunnel_t const* tunnel = table_.find(endpoint);
   if (tunnel == nullptr) {
      throw invalid_argument_error(fmt::format("no such nexthop-group tunnel {}", endpoint.to_string()));
   }
   return *tunnel;
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_set(nexthop_group_tunnel_t const& tunnel) {
   Call const call(set_);
   check_length(tunnel.tunnel_endpoint());
   table_.set(tunnel.tunnel_endpoint(), tunnel);
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_del(ip_prefix_t const& endpoint) {
   Call const call(del_);
   table_.del(endpoint);
}

}  // namespace velm::embedded
