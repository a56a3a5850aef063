#pragma once

#include <cstdint>
#include <string>

#include "proto/velmsdk.pb.h"

namespace velm {
class mpls_route_mgr;
class mpls_route_via_t;
class mpls_vrf_label_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class ClientInit;

/// Programs incoming MPLS labels. A label is a route to a nexthop, a route to a nexthop group, or a pop with a lookup
/// in a VRF, and never two of them: creating one form takes the other away, in one hold of the SDK lock. A route is
/// keyed by its label with metric 0 and has one via; an update deletes it and sets it anew. Server thread only.
class MplsRouteProgrammer {
 public:
   /// The managers stay the caller's.
   MplsRouteProgrammer(ClientInit const& clientInit, velm::mpls_route_mgr* mplsRouteMgr,
                       velm::mpls_vrf_label_mgr* mplsVrfLabelMgr);

   /// Programs the label, or deletes whatever is programmed for it. Failures stand in the status; what the switch had
   /// done by then stays. An operation that the schema does not list and an address of a bad length end the process.
   void processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   std::uint32_t program(pb::mpls_route_msg const& request, std::string& error);
   std::uint32_t processMplsRouteWithNexthop(pb::mpls_route_msg const& request, std::string& error);
   std::uint32_t processMplsRouteWithNexthopGroup(pb::mpls_route_msg const& request, std::string& error);
   std::uint32_t processMplsRoutePopAndForward(pb::mpls_route_msg const& request, std::string& error);

   std::uint32_t deleteLabel(pb::mpls_route_msg const& request);

   // The caller of these holds the SDK lock.
   void replaceRoute(pb::mpls_route_msg const& request, velm::mpls_route_via_t const& via);
   std::uint32_t deleteMplsRoute(pb::mpls_route_msg const& request);
   std::uint32_t deleteMplsVrfLabel(pb::mpls_route_msg const& request);

   ClientInit const& clientInit_;
   velm::mpls_route_mgr* mplsRouteMgr_;
   velm::mpls_vrf_label_mgr* mplsVrfLabelMgr_;
};

}  // namespace VelmSdkRpc
