#pragma once

#include "platform/velm/ip_intf.h"
#include "proto/remote/ip_intf.grpc.pb.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

/// Mirrors the addresses of interfaces. Its watch brings every change, as it comes. SDK callbacks run on the main loop,
/// all else on the server thread.
class IpIntfService : public GrpcService, public velm::ip_intf_handler {
 public:
   using AsyncService = velm::remote::IpIntfMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit IpIntfService(velm::ip_intf_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::ip_intf_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<IpIntfService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_ip_intfs(true); }
   void stopWatching() { watch_all_ip_intfs(false); }

   void on_ip_addr_add(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) override;
   void on_ip_addr_del(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) override;
   void on_internal_vlan_id(velm::intf_id_t intf, unsigned short vlan) override;

 private:
   void publish(velm::remote::IpIntfEvent const& event);
   void publishAddr(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr, velm::remote::IpIntfAddrOp op);

   AsyncService asyncService_;
   SubscriptionController<IpIntfService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
