#pragma once

#include "platform/velm/nexthop_group.h"
#include "proto/remote/nexthop_group.grpc.pb.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

/// Mirrors the nexthop groups of the switch. Its watch brings every event, as it comes. Keeps nothing of a resync. SDK
/// callbacks run on the main loop, all else on the server thread.
class NexthopGroupService : public GrpcService, public velm::nexthop_group_handler_v2 {
 public:
   using AsyncService = velm::remote::NexthopGroupMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit NexthopGroupService(velm::nexthop_group_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::nexthop_group_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<NexthopGroupService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_nexthop_groups(true); }
   void stopWatching() { watch_all_nexthop_groups(false); }

   void on_nexthop_group_active(std::string const& name, bool active) override;
   void on_nexthop_group_programmed(std::string const& name, unsigned short version) override;

 private:
   AsyncService asyncService_;
   SubscriptionController<NexthopGroupService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
