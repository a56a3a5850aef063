#pragma once

#include "platform/linux/forwarding/Resting.h"
#include "platform/linux/forwarding/Tunnels.h"
#include "platform/switch/Carrier.h"
#include "platform/velm/nexthop_group_tunnel.h"

namespace velm::machine {

/// Carries out tunnels: hops under an endpoint are reached through its group, which need not exist yet.
class TunnelCarrier : public embedded::Boundless<ip_prefix_t, nexthop_group_tunnel_t> {
 public:
   TunnelCarrier(Tunnels& tunnels, Resting& rests) : tunnels_(tunnels), rests_(rests) {}

   void carryOut(ip_prefix_t const& endpoint, nexthop_group_tunnel_t const* now, embedded::Room) noexcept override {
      if (now == nullptr || now->nhg_name().empty()) {
         tunnels_.del(endpoint);
      } else {
         tunnels_.set(endpoint, now->nhg_name(), now->igp_metric());
      }
      rests_.changedEverywhere(endpoint);
   }

 private:
   Tunnels& tunnels_;
   Resting& rests_;
};

}  // namespace velm::machine
