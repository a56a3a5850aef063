#pragma once

#include "platform/velm/macsec.h"
#include "proto/remote/macsec.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors Macsec profiles and what the interfaces make of them. Key material passes through: it is in the answers, for
/// a client may read a profile back, and in no trace and no error.
///
/// Its watch brings of each interface, to every client, the last status of a burst.
class MacsecService : public MirrorService<velm::remote::MacsecMgrService, velm::macsec_mgr>,
                      public velm::macsec_handler {
 public:
   using Event = velm::remote::MacsecWatchResponse;

   explicit MacsecService(velm::macsec_mgr* mgr) : MirrorService("macsec", mgr), macsec_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_intfs(on); }
   /// For the backlog: to every watch.
   void publish(Event const& event);

   /// Throws invalid_argument_error for a status that the wire has no number for.
   void on_intf_status(velm::intf_id_t intf, velm::macsec_intf_status_t const& status) override;

 private:
   ServiceBacklog<velm::intf_id_t, Event, MacsecService> backlog_{"macsec_backlog", *this};
};

}  // namespace VelmSdkRpc
