#pragma once

#include "velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Answers for MPLS routes, which this agent does not program: refused, with a text that says so.
class MplsRouteProgrammer {
 public:
   explicit MplsRouteProgrammer(ClientInit const& clientInit);

   void processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status);
   void processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   ClientInit const& clientInit_;
};

}  // namespace VelmSdkRpc
