#pragma once

#include <cstdint>

#include "platform/hints/Prefetcher.h"
#include "proto/velmsdk.pb.h"

namespace velm {
class ip_prefix_t;
class nexthop_group_tunnel_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class ClientInit;

/// Programs tunnels that lead to a prefix through a nexthop group, each the only one of its prefix. Keeps nothing; an
/// add replaces the tunnel, so repeating it changes nothing. The SDK lock is held around the writing calls only. Server
/// thread only.
class NhgTunnelProgrammer {
 public:
   /// The manager stays the caller's.
   NhgTunnelProgrammer(ClientInit const& clientInit, velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr);

   /// Creates or replaces the tunnel of the prefix, or deletes it when the request names no nexthop group. Failures
   /// stand in the status and have changed nothing. An address whose number of bytes no family has ends the process.
   void processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processNhgTunnelBulkRequest(pb::nexthop_group_tunnel_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   /// The endpoint is null where it is yet to be converted.
   void processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request, velm::ip_prefix_t const* endpoint,
                                pb::rpc_status_msg& status);
   std::uint32_t addTunRibRoute(pb::nexthop_group_tunnel_msg const& request, velm::ip_prefix_t const& prefix);
   std::uint32_t delTunRibRoute(velm::ip_prefix_t const& prefix);

   ClientInit const& clientInit_;
   velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr_;
   Hints::Prefetcher<velm::ip_prefix_t> const* prefetcher_;  // null where the switch has none
};

}  // namespace VelmSdkRpc
