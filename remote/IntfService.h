#pragma once

#include "platform/velm/intf.h"
#include "proto/remote/intf.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class IntfService;
using IntfEventHandler = BacklogPublisher<IntfService>;

/// Mirrors the interfaces of the switch. Its watch brings of each interface the last event of a burst, whatever its
/// kind. SDK callbacks and the backlog run on the main loop, all else on the server thread.
class IntfService : public GrpcService, public velm::intf_handler {
 public:
   using AsyncService = velm::remote::IntfMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit IntfService(velm::intf_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::intf_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<IntfService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_intfs(true); }
   void stopWatching() { watch_all_intfs(false); }
   void publish(velm::remote::WatchIntfResponse const& response);

   void on_intf_create(velm::intf_id_t intf) override;
   void on_intf_delete(velm::intf_id_t intf) override;
   void on_oper_status(velm::intf_id_t intf, velm::oper_status_t status) override;
   void on_admin_enabled(velm::intf_id_t intf, bool enabled) override;
   void on_intf_description(velm::intf_id_t intf, std::string const& description) override;

 private:
   template <class Fill>
   void enter(velm::intf_id_t const& intf, Fill&& fill);

   AsyncService asyncService_;
   GenericBacklog<velm::intf_id_t, velm::remote::WatchIntfResponse, IntfEventHandler> backlog_;
   SubscriptionController<IntfService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
