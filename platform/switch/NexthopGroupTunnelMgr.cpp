#include "platform/switch/NexthopGroupTunnelMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

// A tunnel is carried out by being set: the dataplane has no part in it and no event tells of it. What is left is a
// table with resync marks, as simple as a manager of this switch can be; begin here to see how one is made.
namespace velm::embedded {

NexthopGroupTunnelMgr::NexthopGroupTunnelMgr(CallLedger& ledger) : operations_(ledger) {}

void NexthopGroupTunnelMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::nexthopGroupTunnels); }

void NexthopGroupTunnelMgr::resync_init() {
   Call const call(operations_);
   table_.markAll(call);
}

void NexthopGroupTunnelMgr::resync_complete() {
   Call const call(operations_);
   table_.purge(call);
}

void NexthopGroupTunnelMgr::prefetch(std::span<ip_prefix_t const> endpoints) const {
   sdk_scoped_lock const lock;
   table_.prefetch(endpoints);
}

nexthop_group_tunnel_iter_t NexthopGroupTunnelMgr::nexthop_group_tunnel_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](ip_prefix_t const&, nexthop_group_tunnel_t const& tunnel) { return tunnel; });
}

bool NexthopGroupTunnelMgr::exists(ip_prefix_t const& endpoint) const {
   Call const call(operations_);
   return table_.contains(endpoint);
}

nexthop_group_tunnel_t NexthopGroupTunnelMgr::nexthop_group_tunnel(ip_prefix_t const& endpoint) const {
   Call const call(operations_);
   nexthop_group_tunnel_t const* tunnel = table_.find(endpoint);
   if (tunnel == nullptr) {
      throw invalid_argument_error(fmt::format("no such nexthop-group tunnel {}", endpoint.to_string()));
   }
   return *tunnel;
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_set(nexthop_group_tunnel_t const& tunnel) {
   Call const call(operations_);
   check_length(tunnel.tunnel_endpoint());
   table_.set(call, tunnel.tunnel_endpoint(), tunnel);
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_del(ip_prefix_t const& endpoint) {
   Call const call(operations_);
   table_.del(call, endpoint);
}

}  // namespace velm::embedded
