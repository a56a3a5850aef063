#pragma once

#include "platform/velm/macsec.h"
#include "proto/remote/macsec.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class MacsecService;
using MacsecBacklog = BacklogPublisher<MacsecService>;

/// Mirrors Macsec profiles and what the interfaces make of them. Its watch brings of each interface the last status of
/// a burst. Key material passes through and is never traced. SDK callbacks and the backlog run on the main loop, all
/// else on the server thread.
class MacsecService : public GrpcService, public velm::macsec_handler {
 public:
   using AsyncService = velm::remote::MacsecMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit MacsecService(velm::macsec_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::macsec_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<MacsecService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_intfs(true); }
   void stopWatching() { watch_all_intfs(false); }
   void publish(velm::remote::MacsecWatchResponse const& response);

   /// Throws invalid_argument_error for a status that the wire has no number for.
   void on_intf_status(velm::intf_id_t intf, velm::macsec_intf_status_t const& status) override;

 private:
   AsyncService asyncService_;
   GenericBacklog<velm::intf_id_t, velm::remote::MacsecWatchResponse, MacsecBacklog> backlog_;
   SubscriptionController<MacsecService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
