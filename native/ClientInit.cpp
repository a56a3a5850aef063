#include "native/ClientInit.h"

#include <fmt/format.h>

#include <limits>
#include <source_location>

#include "cbf/CbfNexthopGroupRedirect.h"
#include "native/IpRoute.h"
#include "native/Programmer.h"
#include "native/VelmSdkRpcService.h"
#include "platform/qor/Assert.h"
#include "platform/velm/errors.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/nexthop_group_tunnel.h"
#include "rpc/ProcessTrace.h"
#include "sbfd/Bfd.h"

// The two states of the client, which know nothing of each other:
//
//    rpc_server_init      not initialised --- the first that succeeds ---> initialised, until the process ends
//
//    rpc_server_resync    closed --- RESYNC_START ---> open --- RESYNC_END ---> closed
//                         closed --- RESYNC_END: refused
//                         open ----- RESYNC_START: begun anew, and what was repeated before counts no more
//
// Each step of a resync is an operation of one manager or programmer, under the lock that this one takes. One step for
// all would hold the SDK lock over tables of a million rows.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "ClientInit";

// Does the work; a failure becomes the status, in the words that clients know, and is traced as the caller's. Unlike
// `answer` of the programmers it asks for no init, since these two requests come before it.
template <class Work>
void reportFailure(pb::rpc_status_msg& status, Work&& work,
                   std::source_location where = std::source_location::current()) {
   try {
      work();
      status.set_status(pb::rpc_status_msg::STATUS_SUCCESS);
   } catch (velm::error const& e) {
      status.set_status(pb::rpc_status_msg::STATUS_ERROR);
      refuse(className, *status.mutable_debug_string(), fmt::format("Error: exception {}", e.what()), where);
   }
}

}  // namespace

ClientInit::ClientInit(VelmSdkRpcService& service, velm::ip_route_mgr* ipRouteMgr, velm::mpls_route_mgr* mplsRouteMgr,
                       velm::mpls_vrf_label_mgr* mplsVrfLabelMgr, velm::nexthop_group_mgr* nexthopGroupMgr,
                       velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr)
   : service_(service),
     ipRouteMgr_(ipRouteMgr),
     mplsRouteMgr_(mplsRouteMgr),
     mplsVrfLabelMgr_(mplsVrfLabelMgr),
     nexthopGroupMgr_(nexthopGroupMgr),
     nexthopGroupTunnelMgr_(nexthopGroupTunnelMgr) {}

// Tag and name are taken outside of the try: what the programmers have to know is in force whatever the probing finds.
void ClientInit::processInitRequest(pb::rpc_server_config_msg const& config, pb::rpc_server_init_status_msg& status) {
   service_.ipRouteProgrammer().ipRouteTagIs(config.ip_route_tag());
   bool const policyMapExists =
      service_.cbfNhgRedirectProgrammer().cbrPolicyMapNameIs(config.cbf_nexthop_group_redirect_policy_map_name());
   reportFailure(*status.mutable_status(), [&] {
      probe(status);
      status.set_cbf_policy_map_exists(policyMapExists);
      initialized_ = true;
   });
}

void ClientInit::probe(pb::rpc_server_init_status_msg& status) {
   status.set_ip_routes_exist(static_cast<bool>(ipRouteMgr_->ip_route_iter()));
   // One flag for both kinds of state that a label can have.
   status.set_mpls_routes_exist(static_cast<bool>(mplsRouteMgr_->mpls_route_iter()) ||
                                static_cast<bool>(mplsVrfLabelMgr_->mpls_vrf_label_iter()));
   status.set_nexthop_groups_exist(static_cast<bool>(nexthopGroupMgr_->nexthop_group_iter()));
   status.set_nexthop_group_tunnels_exist(static_cast<bool>(nexthopGroupTunnelMgr_->nexthop_group_tunnel_iter()));
}

void ClientInit::processResync(pb::rpc_server_resync_msg const& request, pb::rpc_status_msg& status) {
   auto const state = request.resync_state();
   // The numbers that protobuf's generated enums end with. No client's library can send them by name.
   Qor::assertThat(
      state != std::numeric_limits<std::int32_t>::min() && state != std::numeric_limits<std::int32_t>::max(), "false");
   if (state == pb::RESYNC_START) {
      reportFailure(status, [&] { startResync(); });
   } else if (resyncActive_) {
      reportFailure(status, [&] { endResync(); });
   } else {
      status.set_status(pb::rpc_status_msg::STATUS_ERROR);
      refuse(className, *status.mutable_debug_string(),
             fmt::format("Error: resync state is already {}", resyncActive_));
   }
}

// The flag first, here and at the end: whatever step fails, the client that goes on with its resync finds the state
// that it asked for.
void ClientInit::startResync() {
   resyncActive_ = true;
   trace(className, 0, "Resync start");
   ipRouteMgr_->resync_init();
   mplsRouteMgr_->resync_init();
   mplsVrfLabelMgr_->resync_init();
   nexthopGroupMgr_->resync_init();
   nexthopGroupTunnelMgr_->resync_init();
   service_.cbfNhgRedirectProgrammer().resyncStart();
   service_.bfdProgrammer().resyncStart();
}

void ClientInit::endResync() {
   resyncActive_ = false;
   trace(className, 0, "Resync end");
   ipRouteMgr_->resync_complete();
   mplsRouteMgr_->resync_complete();
   mplsVrfLabelMgr_->resync_complete();
   nexthopGroupTunnelMgr_->resync_complete();
   service_.cbfNhgRedirectProgrammer().resyncEnd();
   service_.bfdProgrammer().resyncEnd();
   // Last, after everything that can refer to a group: routes, tunnels and redirects must not lose theirs before they
   // go.
   nexthopGroupMgr_->resync_complete();
}

}  // namespace VelmSdkRpc
