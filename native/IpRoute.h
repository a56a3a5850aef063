#pragma once

#include <cstdint>
#include <string>

#include "proto/velmsdk.pb.h"

namespace velm {
class ip_route_mgr;
}

namespace VelmSdkRpc {

class ClientInit;

/// Programs IP routes that leave through a nexthop group, and owns the client's route tag, by which a resync tells this
/// client's routes from others'. The SDK lock is held around the writing calls only. Server thread only.
class IpRouteProgrammer {
 public:
   /// The manager stays the caller's.
   IpRouteProgrammer(ClientInit const& clientInit, velm::ip_route_mgr* ipRouteMgr);

   /// From here on an add must carry the tag. 0 ends that, and leaves the manager's own tag as it was. May throw
   /// velm::error.
   void ipRouteTagIs(std::uint32_t tag);

   /// Adds the route, or deletes it when the request names no nexthop group. Failures stand in the status. An address
   /// of a bad length ends the process.
   void processIpRouteRequest(pb::ip_route_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processIpRouteBulkRequest(pb::ip_route_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   std::uint32_t addRibRoute(pb::ip_route_msg const& request, std::string& error);
   std::uint32_t delRibRoute(pb::ip_route_msg const& request, std::string& error);

   ClientInit const& clientInit_;
   velm::ip_route_mgr* ipRouteMgr_;
   std::uint32_t ipRouteTag_ = 0;  // 0 is no tag
};

}  // namespace VelmSdkRpc
