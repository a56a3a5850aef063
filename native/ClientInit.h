#pragma once

#include "proto/velmsdk.pb.h"

namespace velm {
class ip_route_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// The native service's model of its client: one logical client, whatever connections it uses. Answers rpc_server_init
/// and rpc_server_resync, and tells the programmers whether the former has succeeded.
///
/// Nothing that is programmed is held here. What a client's restart left stale is known to the managers of the switch
/// and to the two programmers with state of their own (sBFD, CBF): each notes from the start of a resync on what is set
/// again, and at its end takes away the rest. This object only drives them, in a fixed order.
///
/// Server thread only. Takes no lock: managers and programmers take theirs, so that the steps of a resync are several,
/// between which the switch's events come in.
class ClientInit {
 public:
   /// The managers stay the caller's.
   ClientInit(VelmSdkRpcService& service, velm::ip_route_mgr* ipRouteMgr, velm::mpls_route_mgr* mplsRouteMgr,
              velm::mpls_vrf_label_mgr* mplsVrfLabelMgr, velm::nexthop_group_mgr* nexthopGroupMgr,
              velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr);

   /// True from the first successful rpc_server_init on, until the process ends. The end of a client does not change
   /// it.
   bool initialized() const { return initialized_; }

   /// Takes the client's configuration and tells what the switch already holds, so that a client which has just started
   /// knows whether there is anything to take over. May be repeated at any time, also during a resync.
   ///
   /// A velm::error that the probing raises becomes the answer's status; tag and policy map name are taken by then. One
   /// that these two raise passes through, and ends the process.
   void processInitRequest(pb::rpc_server_config_msg const& config, pb::rpc_server_init_status_msg& status);

   /// Opens or closes a resync, whether initialised or not. A second opening begins anew; a closing without an opening
   /// is refused. A failure leaves the rest of the steps undone and the new state in force, so a failed end cannot be
   /// repeated: the client opens another resync.
   void processResync(pb::rpc_server_resync_msg const& request, pb::rpc_status_msg& status);

 private:
   /// Fills the flags of the answer; one error leaves those that were not reached as they are.
   void probe(pb::rpc_server_init_status_msg& status);
   void startResync();
   void endResync();

   VelmSdkRpcService& service_;
   bool initialized_ = false;
   bool resyncActive_ = false;
   velm::ip_route_mgr* ipRouteMgr_;
   velm::mpls_route_mgr* mplsRouteMgr_;
   velm::mpls_vrf_label_mgr* mplsVrfLabelMgr_;
   velm::nexthop_group_mgr* nexthopGroupMgr_;
   velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr_;
};

}  // namespace VelmSdkRpc
