#pragma once

#include <memory>

#include "proto/velmsdk.grpc.pb.h"
#include "rpc/GrpcService.h"

namespace velm {
class acl_mgr;
class agent_mgr;
class bfd_session_mgr;
class class_map_mgr;
class intf_mgr;
class ip_route_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
class policy_map_mgr;
}  // namespace velm

namespace VelmSdkRpc {

class BfdProgrammer;
class CbfNhgRedirectProgrammer;
class ClientInit;
class IpRouteProgrammer;
class MplsRouteProgrammer;
class NexthopGroupProgrammer;
class NhgTunnelProgrammer;
class OpaqueProgrammer;
class SbfdEchoUpdates;

/// The native service: owns the client session and the programmers and binds them to the methods of velmsdk_service.
/// Programmers run on the server thread, one request at a time.
class VelmSdkRpcService : public GrpcService {
 public:
   using AsyncService = pb::velmsdk_service::AsyncService;

   /// The managers stay the caller's.
   VelmSdkRpcService(velm::acl_mgr* aclMgr, velm::agent_mgr* agentMgr, velm::bfd_session_mgr* bfdSessionMgr,
                     velm::intf_mgr* intfMgr, velm::class_map_mgr* classMapMgr, velm::ip_route_mgr* ipRouteMgr,
                     velm::mpls_route_mgr* mplsRouteMgr, velm::mpls_vrf_label_mgr* mplsVrfLabelMgr,
                     velm::nexthop_group_mgr* nexthopGroupMgr, velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr,
                     velm::policy_map_mgr* policyMapMgr);
   ~VelmSdkRpcService() override;

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;

   AsyncService& asyncService() { return asyncService_; }

   // A stream of sBFD updates has begun, or its client has gone.
   void registerSbfdHandlerForUpdates(void* opaqueId);
   void unregisterSbfdHandlerForUpdates(void* opaqueId);
   // Hand a batch to every such stream; dropped if there is none, and once the service is stopping. Under the SDK lock.
   void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& batch);
   void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& batch);

   // What ClientInit drives by name.
   BfdProgrammer& bfdProgrammer() { return *bfdProgrammer_; }
   CbfNhgRedirectProgrammer& cbfNhgRedirectProgrammer() { return *cbfNhgRedirectProgrammer_; }
   IpRouteProgrammer& ipRouteProgrammer() { return *ipRouteProgrammer_; }
   // The others, for those who call them without a wire between.
   ClientInit& clientInit() { return *clientInit_; }
   MplsRouteProgrammer& mplsRouteProgrammer() { return *mplsRouteProgrammer_; }
   NexthopGroupProgrammer& nexthopGroupProgrammer() { return *nexthopGroupProgrammer_; }
   NhgTunnelProgrammer& nhgTunnelProgrammer() { return *nhgTunnelProgrammer_; }
   OpaqueProgrammer& opaqueProgrammer() { return *opaqueProgrammer_; }

 private:
   AsyncService asyncService_;
   std::unique_ptr<SbfdEchoUpdates> sbfdEchoUpdates_;
   std::unique_ptr<ClientInit> clientInit_;
   std::unique_ptr<BfdProgrammer> bfdProgrammer_;
   std::unique_ptr<CbfNhgRedirectProgrammer> cbfNhgRedirectProgrammer_;
   std::unique_ptr<IpRouteProgrammer> ipRouteProgrammer_;
   std::unique_ptr<MplsRouteProgrammer> mplsRouteProgrammer_;
   std::unique_ptr<NexthopGroupProgrammer> nexthopGroupProgrammer_;
   std::unique_ptr<NhgTunnelProgrammer> nhgTunnelProgrammer_;
   std::unique_ptr<OpaqueProgrammer> opaqueProgrammer_;
};

namespace Test {
/// The process's native service, for tests inside the process; null until the agent is initialised, never cleared.
extern VelmSdkRpcService* btestHelper;
}  // namespace Test

}  // namespace VelmSdkRpc
