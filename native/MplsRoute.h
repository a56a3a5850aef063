#pragma once

#include <cstdint>
#include <string>

#include "platform/hints/Prefetcher.h"
#include "proto/velmsdk.pb.h"

namespace velm {
class mpls_label_t;
class mpls_route_key_t;
class mpls_route_mgr;
class mpls_route_via_t;
class mpls_vrf_label_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class ClientInit;

/// Programs incoming MPLS labels. A label is one of three things, in two of the switch's managers:
///
///   a route to a nexthop, or to a nexthop group     mpls_route_mgr, keyed by the label with metric 0, with one via
///   a pop with a lookup in a VRF                    mpls_vrf_label_mgr
///
/// and never two of them: setting one takes the others away within the same hold of the SDK lock, and a deletion looks
/// in both. An update deletes a route and sets it anew, which also takes its old via. Keeps nothing. Server thread
/// only.
class MplsRouteProgrammer {
 public:
   /// The managers stay the caller's.
   MplsRouteProgrammer(ClientInit const& clientInit, velm::mpls_route_mgr* mplsRouteMgr,
                       velm::mpls_vrf_label_mgr* mplsVrfLabelMgr);

   /// Programs the label, or deletes whatever is programmed for it, without a look at the rest of the request. Failures
   /// stand in the status; what the switch had done by then stays. An operation that the schema does not list and an
   /// address whose number of bytes no family has end the process.
   void processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   using Key = velm::mpls_route_key_t;

   // A key is null where it is yet to be converted.
   void processMPLSRouteRequest(pb::mpls_route_msg const& request, Key const* key, pb::rpc_status_msg& status);
   // Give the status; a text for the client goes into `error`.
   std::uint32_t program(pb::mpls_route_msg const& request, Key const* key, std::string& error);

   std::uint32_t processMplsRouteWithNexthop(pb::mpls_route_msg const& request, Key const& key, std::string& error);
   std::uint32_t processMplsRouteWithNexthopGroup(pb::mpls_route_msg const& request, Key const& key);
   std::uint32_t processMplsRoutePopAndForward(pb::mpls_route_msg const& request, Key const& key);

   std::uint32_t deleteLabel(Key const& key);

   // The caller of these holds the SDK lock.
   void replaceRoute(velm::mpls_route_via_t const& via);
   std::uint32_t deleteMplsRoute(Key const& key);
   std::uint32_t deleteMplsVrfLabel(Key const& key);

   ClientInit const& clientInit_;
   velm::mpls_route_mgr* mplsRouteMgr_;
   velm::mpls_vrf_label_mgr* mplsVrfLabelMgr_;
   // Null where the switch has none.
   Hints::Prefetcher<Key> const* routePrefetcher_;
   Hints::Prefetcher<velm::mpls_label_t> const* vrfLabelPrefetcher_;
};

}  // namespace VelmSdkRpc
