#pragma once

#include <cstdint>
#include <string>

#include "platform/hints/Prefetcher.h"
#include "proto/velmsdk.pb.h"

namespace velm {
class ip_route_key_t;
class ip_route_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class ClientInit;

/// Programs IP routes of the default VRF that leave through a nexthop group, and owns the client's route tag, by which
/// a resync tells this client's routes from others'. Keeps no routes: an add is a set of the switch, so repeating it
/// changes nothing.
///
/// Server thread only. The SDK lock is held around the writing calls alone, which makes route and via one step.
class IpRouteProgrammer {
 public:
   /// The manager stays the caller's.
   IpRouteProgrammer(ClientInit const& clientInit, velm::ip_route_mgr* ipRouteMgr);

   /// From here on an add must carry the tag, and a resync touches only routes that carry it. 0 lets adds carry any
   /// tag, but leaves the manager's own tag, and so the reach of a resync, as it was. May throw velm::error.
   void ipRouteTagIs(std::uint32_t tag);

   /// Adds the route, or deletes it when the request names no nexthop group, whatever its tag. Failures stand in the
   /// status: one while adding may leave the route without its via. An address whose number of bytes no family has ends
   /// the process.
   void processIpRouteRequest(pb::ip_route_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processIpRouteBulkRequest(pb::ip_route_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   /// The key is null where it is yet to be converted.
   void processIpRouteRequest(pb::ip_route_msg const& request, velm::ip_route_key_t const* key,
                              pb::rpc_status_msg& status);
   std::uint32_t addRibRoute(pb::ip_route_msg const& request, velm::ip_route_key_t const& key, std::string& error);
   std::uint32_t delRibRoute(velm::ip_route_key_t const& key);

   ClientInit const& clientInit_;
   velm::ip_route_mgr* ipRouteMgr_;
   Hints::Prefetcher<velm::ip_route_key_t, std::string> const* prefetcher_;  // null where the switch has none
   std::uint32_t ipRouteTag_ = 0;                                            // 0: adds may carry any tag
};

}  // namespace VelmSdkRpc
