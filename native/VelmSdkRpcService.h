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
///
/// Programmers run on the server thread, one request at a time. The sBFD and the CBF programmer also have tasks and SDK
/// callbacks on the main loop, so destroy the service where the main loop cannot run them: on its thread or once it has
/// ended.
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

   // Enter a stream of sBFD updates that has begun, and forget one whose client has gone.
   void registerSbfdHandlerForUpdates(void* opaqueId);
   void unregisterSbfdHandlerForUpdates(void* opaqueId);
   // Hand a batch to every such stream, whose Write may start at once on the calling thread. A batch is dropped where
   // no stream is open, and once the service is stopping. Under the SDK lock.
   void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& batch);
   void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& batch);

   // ClientInit drives these three by name, for their parts of an init and of a resync.
   BfdProgrammer& bfdProgrammer() { return *bfdProgrammer_; }
   CbfNhgRedirectProgrammer& cbfNhgRedirectProgrammer() { return *cbfNhgRedirectProgrammer_; }
   IpRouteProgrammer& ipRouteProgrammer() { return *ipRouteProgrammer_; }
   // These are for callers inside the process that want the programmers without a wire between, such as fuzzers.
   ClientInit& clientInit() { return *clientInit_; }
   MplsRouteProgrammer& mplsRouteProgrammer() { return *mplsRouteProgrammer_; }
   NexthopGroupProgrammer& nexthopGroupProgrammer() { return *nexthopGroupProgrammer_; }
   NhgTunnelProgrammer& nhgTunnelProgrammer() { return *nhgTunnelProgrammer_; }
   OpaqueProgrammer& opaqueProgrammer() { return *opaqueProgrammer_; }

 private:
   // In this order: every programmer refers to clientInit_, and bfdProgrammer_ sends to sbfdEchoUpdates_ until it has
   // gone.
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
/// The process's native service, for tests inside the process. Null until the agent is initialised; never cleared, and
/// so not to be used once the agent has been disabled.
extern VelmSdkRpcService* btestHelper;
}  // namespace Test

}  // namespace VelmSdkRpc
