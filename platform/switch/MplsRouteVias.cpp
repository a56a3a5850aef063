#include "platform/switch/MplsRouteVias.h"

#include <algorithm>

#include "platform/switch/StoredVia.h"

// A via in a row has all attributes of the SDK's via but the route's key, which the row has already, and the group's
// name as a reference into the pool. list() gives the SDK's form back. Vias are told apart by all attributes, so
// setting one that is there changes nothing but its mark; a route has so few that a search from the front is the
// quickest.
namespace velm::embedded {

MplsRouteVias::Via MplsRouteVias::packed(mpls_route_via_t const& via, NamePool& names) {
   return {.hop = via.hop(),
           .action = via.label_action(),
           .ttlMode = via.ttl_mode(),
           .payloadType = via.payload_type(),
           .intf = via.intf(),
           .label = via.pushswap_label(),
           .skipEgressAcl = via.skip_egress_acl(),
           .marked = false,
           .group = via.nexthop_group().empty() ? NamePool::Ref() : names.get(via.nexthop_group())};
}

bool MplsRouteVias::alike(Via const& stored, mpls_route_via_t const& via) {
   return stored.hop == via.hop() && stored.intf == via.intf() && stored.label == via.pushswap_label() &&
          stored.action == via.label_action() && stored.ttlMode == via.ttl_mode() &&
          stored.payloadType == via.payload_type() && stored.skipEgressAcl == via.skip_egress_acl() &&
          (stored.group ? *stored.group == via.nexthop_group() : via.nexthop_group().empty());
}

void MplsRouteVias::set(mpls_route_via_t const& via, NamePool& names) {
   auto const it = std::ranges::find_if(vias_, [&](Via const& stored) { return alike(stored, via); });
   if (it == vias_.end()) {
      vias_.push_back(packed(via, names));
   } else {
      it->marked = false;
   }
}

void MplsRouteVias::del(mpls_route_via_t const& via) {
   auto const gone = std::ranges::remove_if(vias_, [&](Via const& stored) { return alike(stored, via); });
   vias_.erase(gone.begin(), gone.end());
}

bool MplsRouteVias::holds(mpls_route_via_t const& via) const {
   return std::ranges::any_of(vias_, [&](Via const& stored) { return alike(stored, via); });
}

bool MplsRouteVias::anyByHopAlone() const {
   return std::ranges::any_of(vias_,
                              [](Via const& via) { return via.intf == intf_id_t() && via.hop.af() != af_t::none; });
}

void MplsRouteVias::mark(bool marked) {
   for (auto& via : vias_) via.marked = marked;
}

bool MplsRouteVias::anyMarked() const { return std::ranges::any_of(vias_, &Via::marked); }

void MplsRouteVias::dropMarked() {
   auto const gone = std::ranges::remove_if(vias_, &Via::marked);
   vias_.erase(gone.begin(), gone.end());
}

std::vector<mpls_route_via_t> MplsRouteVias::list(mpls_route_key_t const& key) const {
   std::vector<mpls_route_via_t> list;
   list.reserve(vias_.size());
   for (auto const& stored : vias_) {
      auto& via = list.emplace_back(key, stored.action);
      via.hop_is(stored.hop);
      via.intf_is(stored.intf);
      via.pushswap_label_is(stored.label);
      via.ttl_mode_is(stored.ttlMode);
      via.payload_type_is(stored.payloadType);
      via.skip_egress_acl_is(stored.skipEgressAcl);
      if (stored.group) via.nexthop_group_is(*stored.group);
   }
   return list;
}

void decode(StoredBytes& in, MplsRouteVias& vias, NamePool& names) {
   std::vector<mpls_route_via_t> list;
   decode(in, list);
   for (auto const& via : list) vias.set(via, names);
}

}  // namespace velm::embedded
