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
/// and rpc_server_resync, and tells the programmers whether the former has succeeded. Holds nothing that is programmed:
/// what a client's restart left stale is removed by the managers and by the two programmers with state of their own;
/// this object drives them in a fixed order.
///
/// Server thread only; takes no lock.
class ClientInit {
 public:
   /// The managers stay the caller's.
   ClientInit(VelmSdkRpcService& service, velm::ip_route_mgr* ipRouteMgr, velm::mpls_route_mgr* mplsRouteMgr,
              velm::mpls_vrf_label_mgr* mplsVrfLabelMgr, velm::nexthop_group_mgr* nexthopGroupMgr,
              velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr);

   /// True from the first successful rpc_server_init on, until the process ends.
   bool initialized() const { return initialized_; }

   /// Takes the client's configuration and tells what the switch already holds. May be repeated at any time. An error
   /// that the tag or the policy map name raises leaves it.
   void processInitRequest(pb::rpc_server_config_msg const& config, pb::rpc_server_init_status_msg& status);

   /// Opens or closes a resync; only the closing asks whether one is open. A failure leaves the rest of the steps
   /// undone and the new state in force, so a failed end cannot be repeated.
   void processResync(pb::rpc_server_resync_msg const& request, pb::rpc_status_msg& status);

 private:
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
