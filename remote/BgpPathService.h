#pragma once

#include "platform/velm/bgp_path.h"
#include "proto/remote/bgp_path.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class BgpPathService;
using BgpPathKeyBacklog = BacklogPublisher<BgpPathService>;
using BgpConvergedBacklog = BacklogPublisher<BgpPathService>;

/// Mirrors the BGP paths that the switch has received. Its watch brings of each path, and of each family's convergence,
/// the last event of a burst; a burst of paths holds no convergence up. SDK callbacks and the backlogs run on the main
/// loop, all else on the server thread.
class BgpPathService : public GrpcService, public velm::bgp_path_handler {
 public:
   using AsyncService = velm::remote::BgpPathMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit BgpPathService(velm::bgp_path_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::bgp_path_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<BgpPathService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_paths(true); }
   void stopWatching() { watch_all_paths(false); }
   void publish(velm::remote::BgpPathWatchResponse const& response);

   void on_ipv4_unicast_path(velm::bgp_path_key_t const& key) override;
   void on_ipv6_unicast_path(velm::bgp_path_key_t const& key) override;
   void on_ipv4_unicast_bgp_converged(bool converged) override;
   void on_ipv6_unicast_bgp_converged(bool converged) override;

 private:
   using Event = velm::remote::BgpPathWatchResponse;

   void publishPath(velm::remote::IpVersion version, velm::bgp_path_key_t const& key);
   void publishConverged(velm::remote::IpVersion version, bool converged);

   AsyncService asyncService_;
   GenericBacklog<velm::bgp_path_key_t, Event, BgpPathKeyBacklog> pathBacklog_;
   GenericBacklog<int, Event, BgpConvergedBacklog> convergedBacklog_;  // by IP version
   SubscriptionController<BgpPathService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
