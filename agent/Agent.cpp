// The process: an agent of the switch. The SDK's main loop has the main thread from almost the first moment; all else
// happens in its callbacks and on the one server thread that on_initialized starts. The agent serves from then on,
// stops in on_agent_enabled(false), and is destroyed when the main loop has returned: until then its services are
// called back by the SDK, and find nobody to publish to.
//
//   main thread      main, the SDK's main loop, every callback and task
//   server thread    GrpcServer::run: the event loop and every request
//
// The server thread calls the SDK under velm::sdk_scoped_lock. Stopping joins it on the main thread, without that lock.

#include "platform/velm/agent.h"

#include <absl/synchronization/mutex.h>
#include <sys/resource.h>

#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "agent/Argv.h"
#include "agent/GrpcLog.h"
#include "agent/GrpcServer.h"
#include "native/VelmSdkRpcService.h"
#include "platform/qor/Runtime.h"
#include "platform/velm/errors.h"
#include "platform/velm/sdk.h"
#include "remote/AgentService.h"
#include "remote/BgpPathService.h"
#include "remote/EthLagIntfService.h"
#include "remote/IntfCounterService.h"
#include "remote/IntfService.h"
#include "remote/IpIntfService.h"
#include "remote/IpRouteService.h"
#include "remote/MacsecService.h"
#include "remote/MplsRouteService.h"
#include "remote/NexthopGroupService.h"
#include "remote/PolicyMapService.h"
#include "remote/VapiService.h"
#include "rpc/ProcessTrace.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "Agent";

class Agent : public velm::agent_handler {
 public:
   Agent(velm::sdk& sdk, std::string_view listenAddress)
      : velm::agent_handler(sdk.get_agent_mgr()),
        listenAddress_(listenAddress),
        aclMgr_(sdk.get_acl_mgr()),
        agentMgr_(sdk.get_agent_mgr()),
        bfdSessionMgr_(sdk.get_bfd_session_mgr()),
        bgpPathMgr_(sdk.get_bgp_path_mgr()),
        classMapMgr_(sdk.get_class_map_mgr()),
        vapiMgr_(sdk.get_vapi_mgr()),
        ethLagIntfMgr_(sdk.get_eth_lag_intf_mgr()),
        intfMgr_(sdk.get_intf_mgr()),
        intfCounterMgr_(sdk.get_intf_counter_mgr()),
        ipIntfMgr_(sdk.get_ip_intf_mgr()),
        ipRouteMgr_(sdk.get_ip_route_mgr()),
        macsecMgr_(sdk.get_macsec_mgr()),
        mplsRouteMgr_(sdk.get_mpls_route_mgr()),
        mplsVrfLabelMgr_(sdk.get_mpls_vrf_label_mgr()),
        nexthopGroupMgr_(sdk.get_nexthop_group_mgr()),
        nexthopGroupTunnelMgr_(sdk.get_nexthop_group_tunnel_mgr()),
        policyMapMgr_(sdk.get_policy_map_mgr()) {
      trace(className, 1, "Agent constructed");
   }

   // Services register with the SDK as they are made, so their order here is not that of their indexes.
   void on_initialized() override {
      trace(className, 1, "Agent Initialized");
      std::unique_ptr<VelmSdkRpcService> native(
         new VelmSdkRpcService(aclMgr_, agentMgr_, bfdSessionMgr_, intfMgr_, classMapMgr_, ipRouteMgr_, mplsRouteMgr_,
                               mplsVrfLabelMgr_, nexthopGroupMgr_, nexthopGroupTunnelMgr_, policyMapMgr_));
      Test::btestHelper = native.get();
      std::unique_ptr<PolicyMapService> policyMap(new PolicyMapService(policyMapMgr_));
      std::unique_ptr<NexthopGroupService> nexthopGroup(new NexthopGroupService(nexthopGroupMgr_));
      std::unique_ptr<MplsRouteService> mplsRoute(new MplsRouteService(mplsRouteMgr_));
      std::unique_ptr<MacsecService> macsec(new MacsecService(macsecMgr_));
      std::unique_ptr<IpIntfService> ipIntf(new IpIntfService(ipIntfMgr_));
      std::unique_ptr<IpRouteService> ipRoute(new IpRouteService(ipRouteMgr_));
      std::unique_ptr<IntfCounterService> intfCounter(new IntfCounterService(intfCounterMgr_));
      std::unique_ptr<IntfService> intf(new IntfService(intfMgr_));
      std::unique_ptr<EthLagIntfService> ethLagIntf(new EthLagIntfService(ethLagIntfMgr_));
      std::unique_ptr<VapiService> vapi(new VapiService(vapiMgr_));
      std::unique_ptr<BgpPathService> bgpPath(new BgpPathService(bgpPathMgr_));
      std::unique_ptr<AgentService> agent(new AgentService(agentMgr_));
      server_ = std::make_unique<GrpcServer>(
         listenAddress_, native, std::move(agent), std::move(bgpPath), std::move(vapi), std::move(ethLagIntf),
         std::move(intf), std::move(intfCounter), std::move(ipRoute), std::move(ipIntf), std::move(macsec),
         std::move(mplsRoute), std::move(nexthopGroup), std::move(policyMap));
      serverThread_ = std::thread([server = server_.get()] { server->run(); });
      // Tells the intention: the thread binds the port, and reports for itself when it cannot.
      trace(className, 1, "Server listening on {}", listenAddress_);
   }

   // Blocks the main loop until the server thread has ended. The SDK does not hold its lock across this callback, and
   // must not: a handler that waits for the lock has to get it, or the thread would never end.
   void on_agent_enabled(bool enabled) override {
      if (enabled) return;
      trace(className, 1, "Shutting down agent");
      if (serverThread_.joinable()) {
         server_->stop();
         serverThread_.join();
      }
      trace(className, 1, "Shutdown complete");
      get_mgr()->shutdown_complete_is(true);
   }

   // For an error that leaves a callback or a task. It goes on its way, which ends the process.
   static void panicHandler(velm::error const& e) {
      trace(className, 5, "panic msg {}", e.msg());
      e.raise();
   }

 private:
   std::string listenAddress_;
   // In the order in which they are fetched.
   velm::acl_mgr* aclMgr_;
   velm::agent_mgr* agentMgr_;
   velm::bfd_session_mgr* bfdSessionMgr_;
   velm::bgp_path_mgr* bgpPathMgr_;
   velm::class_map_mgr* classMapMgr_;
   velm::vapi_mgr* vapiMgr_;
   velm::eth_lag_intf_mgr* ethLagIntfMgr_;
   velm::intf_mgr* intfMgr_;
   velm::intf_counter_mgr* intfCounterMgr_;
   velm::ip_intf_mgr* ipIntfMgr_;
   velm::ip_route_mgr* ipRouteMgr_;
   velm::macsec_mgr* macsecMgr_;
   velm::mpls_route_mgr* mplsRouteMgr_;
   velm::mpls_vrf_label_mgr* mplsVrfLabelMgr_;
   velm::nexthop_group_mgr* nexthopGroupMgr_;
   velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr_;
   velm::policy_map_mgr* policyMapMgr_;
   std::unique_ptr<GrpcServer> server_;  // empty until on_initialized
   std::thread serverThread_;
};

// gRPC reads its environment when it starts, so this comes before anything that touches it. An empty value is set, too.
void setFromOption(std::vector<char*>& args, std::string_view option, char const* variable) {
   auto const value = argv::getOptionValue(args, option, {});
   if (value.data() != nullptr) setenv(variable, value.data(), 1);
}

// The memory of a large answer goes back to the system as soon as it has left. Left to itself glibc raises the bound
// with the first such answer, and then keeps all that lies below some small block.
void giveLargeBlocksBack() { mallopt(M_MMAP_THRESHOLD, 512 * 1024); }

// Debian builds the library of gRPC's mutexes so that it notes each lock in a graph and reports cycles: a twentieth of
// what a call costs, spent on looking for faults in gRPC.
void leaveLocksOfLibrariesUnchecked() { absl::SetMutexDeadlockDetectionMode(absl::OnDeadlockCycle::kIgnore); }

// A connection is a descriptor. The low soft limit that most systems start with protects programs that call select,
// which knows 1024 of them; nothing here does.
void raiseDescriptorLimit() {
   rlimit limit{};
   if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
   limit.rlim_cur = limit.rlim_max;
   setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace
}  // namespace VelmSdkRpc

// The order counts: gRPC reads its environment at its first use, and each option that is taken out of `args` is one
// that the SDK does not see. An exception before the main loop ends the process as any uncaught one does.
int main(int argc, char** argv) {                    // NOLINT(bugprone-exception-escape)
   Qor::VFPtrInterface::threadSafePointersIs(true);  // the server thread shares counted objects with this one
   auto& activity = Qor::ActivityFacility::activityManagerConfig();
   activity.useEpollIs(true);
   activity.allEpollCtlFailuresAreFatalIs(true);
   VelmSdkRpc::giveLargeBlocksBack();
   VelmSdkRpc::leaveLocksOfLibrariesUnchecked();
   VelmSdkRpc::raiseDescriptorLimit();
   auto args = VelmSdkRpc::argv::vectorize(argc, argv);
   VelmSdkRpc::setFromOption(args, "--grpc-trace", "GRPC_TRACE");
   VelmSdkRpc::setFromOption(args, "--grpc-verbosity", "GRPC_VERBOSITY");
   VelmSdkRpc::traceGrpcLog();
   velm::sdk sdk;
   auto const listenAddress = VelmSdkRpc::argv::getOptionValue(args, "--listen", "127.0.0.1:9543");
   VelmSdkRpc::Agent agent(sdk, listenAddress);
   velm::exception_handler_is(VelmSdkRpc::Agent::panicHandler);
   sdk.main_loop(static_cast<int>(args.size()), args.data());
   return 0;
}
