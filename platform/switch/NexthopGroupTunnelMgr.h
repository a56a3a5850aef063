#pragma once

#include "platform/hints/Prefetcher.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/nexthop_group_tunnel.h"

namespace velm::embedded {

using NexthopGroupTunnelTable = Table<ip_prefix_t, nexthop_group_tunnel_t>;

/// Tunnels through nexthop groups, by endpoint.
class NexthopGroupTunnelMgr : public nexthop_group_tunnel_mgr, public Hints::Prefetcher<ip_prefix_t> {
 public:
   explicit NexthopGroupTunnelMgr(CallLedger& ledger);
   /// The dataplane carries the tunnels out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.tunnels()); }
   /// Brings the folder's tunnels back and keeps every change in it.
   void storeIs(Store& store);
   NexthopGroupTunnelTable const& table() const { return table_; }

   void resync_init() override;
   void resync_complete() override;
   void prefetch(std::span<ip_prefix_t const> endpoints) const override;
   nexthop_group_tunnel_iter_t nexthop_group_tunnel_iter() const override;
   bool exists(ip_prefix_t const& endpoint) const override;
   nexthop_group_tunnel_t nexthop_group_tunnel(ip_prefix_t const& endpoint) const override;
   void nexthop_group_tunnel_set(nexthop_group_tunnel_t const& tunnel) override;
   void nexthop_group_tunnel_del(ip_prefix_t const& endpoint) override;

 private:
   NexthopGroupTunnelTable table_;

   Operations<"nexthop_group_tunnel_mgr", "resync_init", "resync_complete", "nexthop_group_tunnel_iter", "exists",
              "nexthop_group_tunnel", "nexthop_group_tunnel_set", "nexthop_group_tunnel_del">
      operations_;
};

}  // namespace velm::embedded
