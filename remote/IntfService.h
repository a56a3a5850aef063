#pragma once

#include "platform/velm/intf.h"
#include "proto/remote/intf.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors the interfaces of the switch.
///
/// Its watch brings of each interface the last event of a burst, whatever its kind: a new description can hide that the
/// interface has gone down. A client takes events as hints and reads the state back. It chooses one interface or all;
/// one that chooses nothing gets the marker alone.
class IntfService : public MirrorService<velm::remote::IntfMgrService, velm::intf_mgr>, public velm::intf_handler {
 public:
   using Event = velm::remote::WatchIntfResponse;

   explicit IntfService(velm::intf_mgr* mgr) : MirrorService("intf", mgr), intf_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_intfs(on); }
   /// For the backlog: to every watch that the event concerns.
   void publish(Event const& event);

   void on_intf_create(velm::intf_id_t intf) override;
   void on_intf_delete(velm::intf_id_t intf) override;
   void on_oper_status(velm::intf_id_t intf, velm::oper_status_t status) override;
   void on_admin_enabled(velm::intf_id_t intf, bool enabled) override;
   void on_intf_description(velm::intf_id_t intf, std::string const& description) override;

 private:
   // Puts the interface's event, which fill(event) makes of an empty one, into the backlog.
   template <class Fill>
   void enter(velm::intf_id_t const& intf, Fill&& fill);

   ServiceBacklog<velm::intf_id_t, Event, IntfService> backlog_{"IntfBacklog", *this};
};

}  // namespace VelmSdkRpc
