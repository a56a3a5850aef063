#pragma once

#include "platform/velm/ip_route.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "rpc/GrpcService.h"

namespace VelmSdkRpc {

/// Mirrors the IP routes of the switch. Without a watch; keeps nothing of a resync. All on the server thread.
class IpRouteService : public GrpcService {
 public:
   using AsyncService = velm::remote::IpRouteMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit IpRouteService(velm::ip_route_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::ip_route_mgr& mgr() const { return *mgr_; }

 private:
   AsyncService asyncService_;
   velm::ip_route_mgr* mgr_;
};

}  // namespace VelmSdkRpc
