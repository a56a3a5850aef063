#pragma once

#include "platform/velm/policy_map.h"
#include "proto/remote/policy_map.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors the policy maps of the switch: what they are, where they apply, how the hardware took them.
///
/// Its watch brings of each policy map the last event of a burst, whatever its kind: of a failure and a success that
/// follows it, the success. A client chooses one policy map or all; one that chooses nothing watches the one whose key
/// is empty.
class PolicyMapService : public MirrorService<velm::remote::PolicyMapMgrService, velm::policy_map_mgr>,
                         public velm::policy_map_handler {
 public:
   using Event = velm::remote::PolicyMapWatchResponse;

   explicit PolicyMapService(velm::policy_map_mgr* mgr) : MirrorService("policy_map", mgr), policy_map_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_policy_maps(on); }
   /// For the backlog: to every watch that the event concerns.
   void publish(Event const& event);

   void on_policy_map_sync(velm::policy_map_key_t const& key) override;
   void on_policy_map_sync_fail(velm::policy_map_key_t const& key, std::string const& message) override;
   void on_policy_map_config_set(velm::policy_map_key_t const& key) override;

 private:
   // Puts the policy map's event, which fill(event) makes of an empty one, into the backlog.
   template <class Fill>
   void enter(velm::policy_map_key_t const& key, Fill&& fill);

   ServiceBacklog<velm::policy_map_key_t, Event, PolicyMapService> backlog_{"PolicyMapBacklog", *this};
};

}  // namespace VelmSdkRpc
