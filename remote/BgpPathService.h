#pragma once

#include "platform/velm/bgp_path.h"
#include "proto/remote/bgp_path.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors the BGP paths that the switch has received, read only.
///
/// Its watch brings of each path, and of each family's convergence, the last event of a burst. The two have a backlog
/// each, so that a hundred thousand paths do not hold up the word that a family has converged; they are not ordered
/// against each other. A client chooses one family, the other, or all; one that chooses nothing gets the marker alone.
class BgpPathService : public MirrorService<velm::remote::BgpPathMgrService, velm::bgp_path_mgr>,
                       public velm::bgp_path_handler {
 public:
   using Event = velm::remote::BgpPathWatchResponse;

   explicit BgpPathService(velm::bgp_path_mgr* mgr) : MirrorService("bgp-path", mgr), bgp_path_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_paths(on); }
   /// For the backlogs: to every watch that the event concerns.
   void publish(Event const& event);

   void on_ipv4_unicast_path(velm::bgp_path_key_t const& key) override;
   void on_ipv6_unicast_path(velm::bgp_path_key_t const& key) override;
   void on_ipv4_unicast_bgp_converged(bool converged) override;
   void on_ipv6_unicast_bgp_converged(bool converged) override;

 private:
   void publishPath(velm::remote::IpVersion version, velm::bgp_path_key_t const& key);
   void publishConverged(velm::remote::IpVersion version, bool converged);

   ServiceBacklog<velm::bgp_path_key_t, Event, BgpPathService> pathBacklog_{"BgpPathKeyBacklog", *this};
   ServiceBacklog<int, Event, BgpPathService> convergedBacklog_{"BgpPathConvergedBacklog", *this};  // by IP version
};

}  // namespace VelmSdkRpc
