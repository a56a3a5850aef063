#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/WordCarrier.h"
#include "platform/linux/forwarding/Connected.h"
#include "platform/linux/forwarding/Leaves.h"
#include "platform/linux/forwarding/RouteRoom.h"
#include "platform/linux/forwarding/VrfRoutes.h"
#include "platform/switch/IpRouteMgr.h"

namespace velm::machine {

/// Carries out the IP routes of one VRF: each is a leaf in the lookup. A route without a way is not there: what a
/// shorter prefix says holds.
class RouteCarrier final : public WordCarrier<ip_route_key_t, embedded::IpRoute> {
 public:
   RouteCarrier(std::string vrf, VrfRoutes& routes, Connected& connected, Leaves& leaves, RouteRoom& room,
                Resting& rests, Warn warn)
      : WordCarrier(std::move(vrf), rests, std::move(warn)),
        routes_(routes),
        connected_(connected),
        leaves_(leaves),
        room_(room),
        rests_(rests) {}

   void prefetch(std::span<ip_route_key_t const> keys) const { routes_.prefetch(keys); }

 private:
   std::uint64_t take(ip_route_key_t const& key, embedded::IpRoute const& row) override;
   void giveUp(std::uint64_t leaf) noexcept override;
   void become(ip_route_key_t const& key, std::uint64_t leaf) noexcept override;
   void drop(ip_route_key_t const& key) override;
   std::vector<ip_addr_t> hopsOf(ip_route_key_t const& key, embedded::IpRoute const& row) const override;
   std::string nameOf(ip_route_key_t const& key) const override { return "route " + key.prefix().to_string(); }

   std::uint32_t takeLeaf(ip_route_key_t const& key, embedded::IpRoute const& row, unsigned& level);
   void leafIs(ip_route_key_t const& key, std::uint32_t leaf);
   void levelIs(ip_prefix_t const& prefix, unsigned level);

   VrfRoutes& routes_;
   Connected& connected_;
   Leaves& leaves_;
   RouteRoom& room_;
   Resting& rests_;
};

}  // namespace velm::machine
