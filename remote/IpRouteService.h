#pragma once

#include "platform/velm/ip_route.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors the IP routes of the switch, without a watch. What it adds is the choice among the manager's overloads: a
/// request that names a VRF reaches the one with a name, and one whose name is empty the one without, but for
/// `ip_route_set`, where it counts whether the client chose a VRF and not what it is called.
///
/// The bulk methods tell the switch ahead which routes they are about to touch, so that it waits for memory once for
/// several of them.
class IpRouteService : public MirrorService<velm::remote::IpRouteMgrService, velm::ip_route_mgr> {
 public:
   explicit IpRouteService(velm::ip_route_mgr* mgr) : MirrorService("IpRoute", mgr) {}

   void startHandlers() override;
};

}  // namespace VelmSdkRpc
