#include "platform/linux/RouteCarrier.h"

#include <algorithm>

// A word is a leaf, and with it goes the promise of one change of the lookup. What a prefix led to before is released
// after the store that replaced it: whoever read it before that may still follow it, and the tables after it keep what
// was released for a grace period.
namespace velm::machine {

using embedded::IpRoute;

std::uint32_t RouteCarrier::takeLeaf(ip_route_key_t const& key, IpRoute const& row) {
   if (row.action == ip_route_action_t::drop) return leaf_word(LEAF_DROP, 0);
   if (auto const* const group = row.vias.group()) return leaves_.takeGroup(*group);
   auto const vias = row.vias.list(key);
   if (vias.empty()) return 0;
   auto const& first = vias.front();
   return first.nexthop_group().empty() ? leaves_.takeVias(vrf_, vias) : leaves_.takeGroup(first.nexthop_group());
}

std::uint64_t RouteCarrier::take(ip_route_key_t const& key, IpRoute const& row) {
   auto const leaf = takeLeaf(key, row);
   if (leaf != 0 && !room_.take()) {
      leaves_.release(leaf);
      throw error("the dataplane has no room for " + nameOf(key));
   }
   return leaf;
}

void RouteCarrier::giveUp(std::uint64_t leaf) noexcept {
   room_.giveBack();
   leaves_.release(static_cast<std::uint32_t>(leaf));
}

void RouteCarrier::become(ip_route_key_t const& key, std::uint64_t leaf) noexcept {
   leafIs(key, static_cast<std::uint32_t>(leaf));
   if (leaf != 0) room_.giveBack();
}

void RouteCarrier::drop(ip_route_key_t const& key) {
   if (!room_.take()) return;
   become(key, leaf_word(LEAF_DROP, 0));
}

void RouteCarrier::leafIs(ip_route_key_t const& key, std::uint32_t leaf) {
   auto const rank = rankOf(key.preference());
   auto const before = leaf == 0 ? routes_.del(key.prefix(), rank) : routes_.set(key.prefix(), rank, leaf);
   leaves_.release(before);
   if ((before == 0) != (leaf == 0)) connected_.routeChanged(vrf_, key.prefix());
}

// A row may come with vias that lead nowhere yet: those of a folder come before the networks are known.
bool RouteCarrier::isAdrift(ip_route_key_t const& key, IpRoute const& row) const {
   if (row.vias.group() != nullptr) return false;
   return std::ranges::any_of(row.vias.list(key), [](ip_route_via_t const& via) {
      return via.intf() == intf_id_t() && via.hop().af() != af_t::none;
   });
}

}  // namespace velm::machine
