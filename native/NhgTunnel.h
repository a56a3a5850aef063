#pragma once

#include "velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Answers for nexthop-group tunnels, which this agent does not program: refused, with a text that says so.
class NhgTunnelProgrammer {
 public:
   explicit NhgTunnelProgrammer(ClientInit const& clientInit);

   void processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request, pb::rpc_status_msg& status);
   void processNhgTunnelBulkRequest(pb::nexthop_group_tunnel_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   ClientInit const& clientInit_;
};

}  // namespace VelmSdkRpc
