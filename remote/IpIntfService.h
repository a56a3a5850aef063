#pragma once

#include "platform/velm/ip_intf.h"
#include "proto/remote/ip_intf.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors the addresses of interfaces.
///
/// Its watch brings every change to every client, as it comes and in order: an address that is added and deleted in one
/// burst is two events, for a client that keeps the set of addresses needs both. A slow client makes its own queue
/// grow.
class IpIntfService : public MirrorService<velm::remote::IpIntfMgrService, velm::ip_intf_mgr>,
                      public velm::ip_intf_handler {
 public:
   explicit IpIntfService(velm::ip_intf_mgr* mgr) : MirrorService("ip_intf", mgr), ip_intf_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_ip_intfs(on); }

   void on_ip_addr_add(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) override;
   void on_ip_addr_del(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) override;
   void on_internal_vlan_id(velm::intf_id_t intf, unsigned short vlan) override;

 private:
   void publish(velm::remote::IpIntfEvent const& event);
   void publishAddr(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr, velm::remote::IpIntfAddrOp op);
};

}  // namespace VelmSdkRpc
