#pragma once

#include "platform/velm/agent.h"
#include "proto/remote/agent.grpc.pb.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

/// Mirrors what the switch knows of its agent: options, published statuses, age. Its watch brings every change of an
/// option, as it comes. SDK callbacks run on the main loop, all else on the server thread.
class AgentService : public GrpcService, public velm::agent_handler {
 public:
   using AsyncService = velm::remote::AgentService::AsyncService;

   /// The manager stays the caller's.
   explicit AgentService(velm::agent_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::agent_mgr& mgr() const { return *get_mgr(); }

   void subscribe(void* id) { subscriptions_.subscribe(id); }
   void cancel(void* id) { subscriptions_.cancel(id); }
   // Options always flow: there is nothing to switch.
   void startWatching() {}
   void stopWatching() {}

   void on_initialized() override {}
   void on_agent_enabled(bool /*enabled*/) override {}
   std::string on_agent_rpc(std::string const& /*request*/) override { return {}; }
   void on_agent_option(std::string const& name, std::string const& value) override;

 private:
   AsyncService asyncService_;
   SubscriptionController<AgentService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
