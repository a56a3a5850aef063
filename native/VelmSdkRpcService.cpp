#include "native/VelmSdkRpcService.h"

#include <utility>

#include "cbf/CbfNexthopGroupRedirect.h"
#include "convert/Format.h"
#include "native/CallbackRequestHandler.h"
#include "native/ClientInit.h"
#include "native/IpRoute.h"
#include "native/MplsRoute.h"
#include "native/NexthopGroup.h"
#include "native/NhgTunnel.h"
#include "native/Opaque.h"
#include "platform/pesko/DisplayPointer.h"
#include "rpc/Method.h"
#include "rpc/ProcessTrace.h"
#include "sbfd/Bfd.h"
#include "sbfd/SbfdEchoUpdates.h"
#include "sbfd/SbfdEchoUpdatesHandler.h"

// Where gRPC and the programmers meet: the one unit of the native service that knows both. It makes the programmers,
// binds each unary method to a member function of one, and takes the sBFD batches from them to the streams.

namespace VelmSdkRpc {
namespace {

using AsyncService = VelmSdkRpcService::AsyncService;

constexpr auto traceLabel = "GrpcServer";  // under which readers of the trace look for batches

// A call that is held open for as long as the server lives: its end is how a client learns that the agent has gone. The
// server never writes to it and never ends it. It asks to be told of the call's end all the same, for a handler that
// outlived its client would keep the client's connection. That event is the second one, and the last before its Finish.
class DetectServerAliveHandler : public GenericRequestHandler<DetectServerAliveHandler, pb::rpc_server_alive_msg,
                                                              pb::rpc_server_alive_msg, VelmSdkRpcService, true> {
 public:
   DetectServerAliveHandler(OpaqueId id, VelmSdkRpcService& service) : GenericRequestHandler(id, service) {
      context().AsyncNotifyWhenDone(id);
   }
   static constexpr auto requestFn() { return &AsyncService::Requestwatch_rpc_server_alive; }
   void process() override {
      if (state() == HandlerState::Armed) {
         stateIs(HandlerState::Active);
      } else {
         finish(grpc::Status::OK);
      }
   }
};

// One for each method: two methods with the same messages and owner would otherwise share one type of handler.
constexpr char initHandlerName[] = "init";
constexpr char resyncHandlerName[] = "resync";
constexpr char opaqueSetHandlerName[] = "opaqueSet";
constexpr char opaqueGetHandlerName[] = "opaqueGet";
constexpr char nexthopGroupHandlerName[] = "nexthopGroup";
constexpr char nexthopGroupBulkHandlerName[] = "nexthopGroupBulk";
constexpr char ipRouteHandlerName[] = "ipRoute";
constexpr char ipRouteBulkHandlerName[] = "ipRouteBulk";
constexpr char nhgTunnelHandlerName[] = "nhgTunnel";
constexpr char nhgTunnelBulkHandlerName[] = "nhgTunnelBulk";
constexpr char mplsRouteHandlerName[] = "mplsRoute";
constexpr char mplsRouteBulkHandlerName[] = "mplsRouteBulk";
constexpr char cbfNexthopGroupRedirectName[] = "cbfNexthopGroupRedirect";
constexpr char cbfNexthopGroupRedirectBulkName[] = "cbfNexthopGroupRedirectBulk";
constexpr char sbfdEchoSessionHandlerName[] = "sbfdEchoSession";
constexpr char sbfdEchoSessionBulkHandlerName[] = "sbfdEchoSessionBulk";

// Arms the handler of a unary method, whose messages follow from the generated member.
template <char const* Name, auto post, class Owner>
void bind(VelmSdkRpcService& service, Owner& owner,
          void (Owner::*callback)(typename Method<post>::Request const&, typename Method<post>::Response&)) {
   using Handler = CallbackRequestHandler<typename Method<post>::Request, typename Method<post>::Response, Owner, Name>;
   service.arm<Handler>(service, postFn<AsyncService>(post), &owner, callback);
}

}  // namespace

VelmSdkRpcService::VelmSdkRpcService(velm::acl_mgr* aclMgr, velm::agent_mgr* agentMgr,
                                     velm::bfd_session_mgr* bfdSessionMgr, velm::intf_mgr* intfMgr,
                                     velm::class_map_mgr* classMapMgr, velm::ip_route_mgr* ipRouteMgr,
                                     velm::mpls_route_mgr* mplsRouteMgr, velm::mpls_vrf_label_mgr* mplsVrfLabelMgr,
                                     velm::nexthop_group_mgr* nexthopGroupMgr,
                                     velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr,
                                     velm::policy_map_mgr* policyMapMgr)
   : GrpcService("VelmSdkRpc"),
     sbfdEchoUpdates_(std::make_unique<SbfdEchoUpdates>(*this)),
     clientInit_(std::make_unique<ClientInit>(*this, ipRouteMgr, mplsRouteMgr, mplsVrfLabelMgr, nexthopGroupMgr,
                                              nexthopGroupTunnelMgr)),
     bfdProgrammer_(std::make_unique<BfdProgrammer>(*clientInit_, bfdSessionMgr, intfMgr, *this)),
     cbfNhgRedirectProgrammer_(
        std::make_unique<CbfNhgRedirectProgrammer>(*clientInit_, policyMapMgr, classMapMgr, aclMgr, agentMgr)),
     ipRouteProgrammer_(std::make_unique<IpRouteProgrammer>(*clientInit_, ipRouteMgr)),
     mplsRouteProgrammer_(std::make_unique<MplsRouteProgrammer>(*clientInit_, mplsRouteMgr, mplsVrfLabelMgr)),
     nexthopGroupProgrammer_(std::make_unique<NexthopGroupProgrammer>(*clientInit_, nexthopGroupMgr)),
     nhgTunnelProgrammer_(std::make_unique<NhgTunnelProgrammer>(*clientInit_, nexthopGroupTunnelMgr)),
     opaqueProgrammer_(std::make_unique<OpaqueProgrammer>(*clientInit_, agentMgr)) {}

VelmSdkRpcService::~VelmSdkRpcService() = default;

void VelmSdkRpcService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

// In the order of the schema, except that the two streams come last.
void VelmSdkRpcService::startHandlers() {
   bind<initHandlerName, &AsyncService::Requestrpc_server_init>(*this, *clientInit_, &ClientInit::processInitRequest);
   bind<resyncHandlerName, &AsyncService::Requestrpc_server_resync>(*this, *clientInit_, &ClientInit::processResync);
   bind<opaqueSetHandlerName, &AsyncService::Requestrpc_server_state>(*this, *opaqueProgrammer_,
                                                                      &OpaqueProgrammer::processOpaqueStateSetRequest);
   bind<opaqueGetHandlerName, &AsyncService::Requestget_rpc_server_state>(
      *this, *opaqueProgrammer_, &OpaqueProgrammer::processOpaqueStateGetRequest);
   bind<nexthopGroupHandlerName, &AsyncService::Requestnexthop_group>(
      *this, *nexthopGroupProgrammer_, &NexthopGroupProgrammer::processNexthopGroupRequest);
   bind<nexthopGroupBulkHandlerName, &AsyncService::Requestnexthop_group_bulk>(
      *this, *nexthopGroupProgrammer_, &NexthopGroupProgrammer::processNexthopGroupBulkRequest);
   bind<ipRouteHandlerName, &AsyncService::Requestip_route>(*this, *ipRouteProgrammer_,
                                                            &IpRouteProgrammer::processIpRouteRequest);
   bind<ipRouteBulkHandlerName, &AsyncService::Requestip_route_bulk>(*this, *ipRouteProgrammer_,
                                                                     &IpRouteProgrammer::processIpRouteBulkRequest);
   bind<nhgTunnelHandlerName, &AsyncService::Requestnexthop_group_tunnel>(
      *this, *nhgTunnelProgrammer_, &NhgTunnelProgrammer::processNhgTunnelRequest);
   bind<nhgTunnelBulkHandlerName, &AsyncService::Requestnexthop_group_tunnel_bulk>(
      *this, *nhgTunnelProgrammer_, &NhgTunnelProgrammer::processNhgTunnelBulkRequest);
   bind<mplsRouteHandlerName, &AsyncService::Requestmpls_route>(*this, *mplsRouteProgrammer_,
                                                                &MplsRouteProgrammer::processMPLSRouteRequest);
   bind<mplsRouteBulkHandlerName, &AsyncService::Requestmpls_route_bulk>(
      *this, *mplsRouteProgrammer_, &MplsRouteProgrammer::processMPLSRouteBulkRequest);
   bind<cbfNexthopGroupRedirectName, &AsyncService::Requestcbf_nexthop_group_redirect>(
      *this, *cbfNhgRedirectProgrammer_, &CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest);
   bind<cbfNexthopGroupRedirectBulkName, &AsyncService::Requestcbf_nexthop_group_redirect_bulk>(
      *this, *cbfNhgRedirectProgrammer_, &CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest);
   bind<sbfdEchoSessionHandlerName, &AsyncService::Requestsbfd_echo_session>(
      *this, *bfdProgrammer_, &BfdProgrammer::processSbfdEchoSessionRequest);
   bind<sbfdEchoSessionBulkHandlerName, &AsyncService::Requestsbfd_echo_session_bulk>(
      *this, *bfdProgrammer_, &BfdProgrammer::processSbfdEchoSessionBulkRequest);
   arm<DetectServerAliveHandler>(*this);
   arm<SbfdEchoUpdatesHandler>(*this);
}

void VelmSdkRpcService::registerSbfdHandlerForUpdates(void* opaqueId) { sbfdEchoUpdates_->insert(opaqueId); }

void VelmSdkRpcService::unregisterSbfdHandlerForUpdates(void* opaqueId) { sbfdEchoUpdates_->erase(opaqueId); }

// Nothing is sent once the service is stopping: the queue may be closed, and gRPC ends the process for a Write on it.
void VelmSdkRpcService::sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& batch) {
   if (stopping()) return;
   trace(traceLabel, 1, "{} Bulk alive update {}", Pesko::DisplayPointer(this), batch);
   sbfdEchoUpdates_->send(std::move(batch), &SbfdEchoUpdatesHandler::sendAliveUpdate);
}

void VelmSdkRpcService::sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& batch) {
   if (stopping()) return;
   trace(traceLabel, 6, "{} Bulk rtt update {}", Pesko::DisplayPointer(this), batch);
   sbfdEchoUpdates_->send(std::move(batch), &SbfdEchoUpdatesHandler::sendRttUpdate);
}

namespace Test {
VelmSdkRpcService* btestHelper = nullptr;
}  // namespace Test

}  // namespace VelmSdkRpc
