#pragma once

#include "platform/velm/policy_map.h"
#include "proto/remote/policy_map.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class PolicyMapService;
using PolicyMapEventHandler = BacklogPublisher<PolicyMapService>;

/// Mirrors the policy maps of the switch. Its watch brings of each policy map the last event of a burst, whatever its
/// kind. Keeps nothing of a resync. SDK callbacks and the backlog run on the main loop, all else on the server thread.
class PolicyMapService : public GrpcService, public velm::policy_map_handler {
 public:
   using AsyncService = velm::remote::PolicyMapMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit PolicyMapService(velm::policy_map_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::policy_map_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<PolicyMapService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_policy_maps(true); }
   void stopWatching() { watch_all_policy_maps(false); }
   void publish(velm::remote::PolicyMapWatchResponse const& response);

   void on_policy_map_sync(velm::policy_map_key_t const& key) override;
   void on_policy_map_sync_fail(velm::policy_map_key_t const& key, std::string const& message) override;
   void on_policy_map_config_set(velm::policy_map_key_t const& key) override;

 private:
   template <class Fill>
   void enter(velm::policy_map_key_t const& key, Fill&& fill);

   AsyncService asyncService_;
   GenericBacklog<velm::policy_map_key_t, velm::remote::PolicyMapWatchResponse, PolicyMapEventHandler> backlog_;
   SubscriptionController<PolicyMapService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
