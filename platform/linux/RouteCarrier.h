#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/forwarding/Connected.h"
#include "platform/linux/forwarding/Leaves.h"
#include "platform/linux/forwarding/RouteRoom.h"
#include "platform/linux/forwarding/VrfRoutes.h"
#include "platform/switch/Carrier.h"
#include "platform/switch/IpRouteMgr.h"

namespace velm::machine {

/// Carries out the IP routes of one VRF: each is a leaf in the lookup. A route without a way is not there: what a
/// shorter prefix says holds.
class RouteCarrier : public embedded::Carrier<ip_route_key_t, embedded::IpRoute>, embedded::Room::Keeper {
 public:
   /// Something could not be carried out that was not to be refused.
   using Warn = std::function<void(std::string const&)>;

   RouteCarrier(std::string vrf, VrfRoutes& routes, Connected& connected, Leaves& leaves, RouteRoom& room, Warn warn)
      : vrf_(std::move(vrf)),
        routes_(routes),
        connected_(connected),
        leaves_(leaves),
        room_(room),
        warn_(std::move(warn)) {}

   embedded::Room prepare(ip_route_key_t const& key, embedded::IpRoute const* now,
                          embedded::IpRoute const& next) override;
   void carryOut(ip_route_key_t const& key, embedded::IpRoute const* now, embedded::Room room) noexcept override;
   /// Packets for it are dropped.
   void refused(ip_route_key_t const& key, embedded::IpRoute const& row, std::string const& why) override;

   /// Which networks the switch is on has changed: where vias name no interface they may lead elsewhere now.
   void networksChanged();
   void prefetch(std::span<ip_route_key_t const> keys) const { routes_.prefetch(keys); }
   std::size_t refusedRoutes() const { return refused_; }

 private:
   void giveBack(std::uint64_t leaf) noexcept override;
   std::uint32_t takeLeaf(ip_route_key_t const& key, embedded::IpRoute const& row);
   embedded::Room roomAfterPurge(ip_route_key_t const& key, embedded::IpRoute const& row);
   void noteAdrift(ip_route_key_t const& key, embedded::IpRoute const* now);
   void leafIs(ip_route_key_t const& key, std::uint32_t leaf);

   std::string const vrf_;
   VrfRoutes& routes_;
   Connected& connected_;
   Leaves& leaves_;
   RouteRoom& room_;
   Warn const warn_;
   absl::btree_map<ip_route_key_t, std::vector<ip_route_via_t>> adrift_;  // with vias that name no interface
   std::size_t refused_ = 0;
};

}  // namespace velm::machine
