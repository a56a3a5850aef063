#pragma once

#include <cstdint>
#include <string>

#include "proto/velmsdk.pb.h"

namespace velm {
class nexthop_group_tunnel_mgr;
}

namespace VelmSdkRpc {

class ClientInit;

/// Programs tunnels that lead to a prefix through a nexthop group. The SDK lock is held around the writing calls only.
/// Server thread only.
class NhgTunnelProgrammer {
 public:
   /// The manager stays the caller's.
   NhgTunnelProgrammer(ClientInit const& clientInit, velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr);

   /// Creates or replaces the tunnel of the prefix, or deletes it when the request names no nexthop group. Failures
   /// stand in the status. An address of a bad length ends the process.
   void processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processNhgTunnelBulkRequest(pb::nexthop_group_tunnel_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   std::uint32_t addTunRibRoute(pb::nexthop_group_tunnel_msg const& request, std::string& error);
   std::uint32_t delTunRibRoute(pb::nexthop_group_tunnel_msg const& request, std::string& error);

   ClientInit const& clientInit_;
   velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr_;
};

}  // namespace VelmSdkRpc
