#pragma once

#include "platform/velm/eth_lag_intf.h"
#include "proto/remote/eth_lag_intf.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class EthLagIntfService;
using EthLagIntfBacklog = BacklogPublisher<EthLagIntfService>;
using EthLagIntfMemberBacklog = BacklogPublisher<EthLagIntfService>;

/// Mirrors LAG interfaces and their members. Its watch brings of each LAG, and of each member, the last event of a
/// burst, whatever its kind; LAGs and members do not wait for each other. SDK callbacks and the backlogs run on the
/// main loop, all else on the server thread.
class EthLagIntfService : public GrpcService, public velm::eth_lag_intf_handler {
 public:
   using AsyncService = velm::remote::EthLagIntfMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit EthLagIntfService(velm::eth_lag_intf_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::eth_lag_intf_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<EthLagIntfService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_eth_lag_intfs(true); }
   void stopWatching() { watch_all_eth_lag_intfs(false); }
   void publish(velm::remote::EthLagIntfWatchResponse const& response);

   void on_eth_lag_intf_create(velm::intf_id_t lag) override;
   void on_eth_lag_intf_delete(velm::intf_id_t lag) override;
   void on_lag_member_set(velm::intf_id_t lag, velm::intf_id_t member) override;
   void on_lag_member_del(velm::intf_id_t lag, velm::intf_id_t member) override;
   void on_lag_intf_speed(velm::intf_id_t lag, std::uint64_t speed) override;

 private:
   using Event = velm::remote::EthLagIntfWatchResponse;

   AsyncService asyncService_;
   GenericBacklog<velm::intf_id_t, Event, EthLagIntfBacklog> lagBacklog_;
   GenericBacklog<velm::intf_id_t, Event, EthLagIntfMemberBacklog> memberBacklog_;
   SubscriptionController<EthLagIntfService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
