#include "platform/linux/RouteCarrier.h"

// A word is a leaf, and with it goes the promise of one change of the lookup. What a prefix led to before is released
// after the store that replaced it: whoever read it before that may still follow it, and the tables after it keep what
// was released for a grace period.
namespace velm::machine {

using embedded::IpRoute;

std::uint32_t RouteCarrier::takeLeaf(ip_route_key_t const& key, IpRoute const& row, unsigned& level) {
   if (row.action == ip_route_action_t::drop) return leaf_word(LEAF_DROP, 0);
   if (auto const* const group = row.vias.group()) return leaves_.takeGroup(*group);
   auto const vias = row.vias.list(key);
   if (vias.empty()) return 0;
   auto const& first = vias.front();
   if (!first.nexthop_group().empty()) return leaves_.takeGroup(first.nexthop_group());
   auto found = leaves_.find({vrf(), key.prefix()}, Leaves::waysOf(vias));
   level = found.level;
   return leaves_.takeWays(std::move(found.entries));
}

// A row that is judged and then refused may leave its level behind, which is right again with the next change.
void RouteCarrier::levelIs(ip_prefix_t const& prefix, unsigned level) {
   if (routes_.level(prefix) == level) return;
   routes_.levelIs(prefix, level);
   rests_.changed(vrf(), prefix);
}

std::uint64_t RouteCarrier::take(ip_route_key_t const& key, IpRoute const& row) {
   unsigned level = 0;
   auto const leaf = takeLeaf(key, row, level);
   levelIs(key.prefix(), level);
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
   if (leaf == 0) routes_.levelIs(key.prefix(), 0);
   if (before == leaf) return;
   rests_.changed(vrf(), key.prefix());
   if (before == 0 || leaf == 0) connected_.routeChanged(vrf(), key.prefix());
}

// A row may come with vias that lead nowhere yet: those of a folder come before the networks are known.
std::vector<ip_addr_t> RouteCarrier::hopsOf(ip_route_key_t const& key, IpRoute const& row) const {
   if (row.vias.group() != nullptr) return {};
   return hopsAloneOf(row.vias.list(key));
}

}  // namespace velm::machine
