#pragma once

#include "platform/velm/eth_lag_intf.h"
#include "proto/remote/eth_lag_intf.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors LAG interfaces and their members: the largest mirror, nearly all of it attributes with a getter, a setter
/// and a bulk setter. An enum that is unknown is reported as unsupported, and not, as in the other mirrors, as an
/// invalid argument.
///
/// Its watch brings of each LAG, and of each member, the last event of a burst, whatever its kind: a change of speed
/// can hide that the LAG is new. LAGs and members have a backlog each and are not ordered against each other. A client
/// takes events as hints and reads the state back.
class EthLagIntfService : public MirrorService<velm::remote::EthLagIntfMgrService, velm::eth_lag_intf_mgr>,
                          public velm::eth_lag_intf_handler {
 public:
   using Event = velm::remote::EthLagIntfWatchResponse;

   explicit EthLagIntfService(velm::eth_lag_intf_mgr* mgr)
      : MirrorService("eth-lag-intf", mgr), eth_lag_intf_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_eth_lag_intfs(on); }
   /// For the backlogs: to every watch.
   void publish(Event const& event);

   void on_eth_lag_intf_create(velm::intf_id_t lag) override;
   void on_eth_lag_intf_delete(velm::intf_id_t lag) override;
   void on_lag_member_set(velm::intf_id_t lag, velm::intf_id_t member) override;
   void on_lag_member_del(velm::intf_id_t lag, velm::intf_id_t member) override;
   void on_lag_intf_speed(velm::intf_id_t lag, std::uint64_t speed) override;

 private:
   // By LAG and by member: one that moves to another LAG has one event, the last.
   ServiceBacklog<velm::intf_id_t, Event, EthLagIntfService> lagBacklog_{"EthLagIntfBacklog", *this};
   ServiceBacklog<velm::intf_id_t, Event, EthLagIntfService> memberBacklog_{"EthLagIntfMemberBacklog", *this};
};

}  // namespace VelmSdkRpc
