#include "platform/linux/RouteCarrier.h"

#include <fmt/format.h>

#include "platform/velm/errors.h"

// A room is a leaf, taken, and the promise of one change of the lookup. It is used by the change, or both are given
// back. What a prefix led to before is released after the store that replaced it: whoever read it before that may still
// follow it, and the tables behind it keep what was released for a grace period.
namespace velm::machine {

using embedded::IpRoute;
using embedded::Room;

namespace {

// What a room is made of where the change is none here: the row is new and has no leaf, as one has whose vias are yet
// to come. So that it costs no look at the lookup.
constexpr auto noChange = ~std::uint64_t{0};

}  // namespace

std::uint32_t RouteCarrier::takeLeaf(ip_route_key_t const& key, IpRoute const& row) {
   if (row.action == ip_route_action_t::drop) return leaf_word(LEAF_DROP, 0);
   if (auto const* const group = row.vias.group()) return leaves_.takeGroup(*group);
   auto const vias = row.vias.list(key);
   if (vias.empty()) return 0;
   auto const& first = vias.front();
   return first.nexthop_group().empty() ? leaves_.takeVias(vrf_, vias) : leaves_.takeGroup(first.nexthop_group());
}

Room RouteCarrier::prepare(ip_route_key_t const& key, IpRoute const* now, IpRoute const& next) {
   auto const leaf = takeLeaf(key, next);
   if (leaf == 0) return now == nullptr ? Room(*this, noChange) : Room();
   if (!room_.take()) {
      leaves_.release(leaf);
      throw error(fmt::format("the dataplane has no room for route {}", key.prefix().to_string()));
   }
   return {*this, leaf};
}

void RouteCarrier::giveBack(std::uint64_t leaf) noexcept {
   if (leaf == noChange) return;
   room_.giveBack();
   leaves_.release(static_cast<std::uint32_t>(leaf));
}

void RouteCarrier::carryOut(ip_route_key_t const& key, IpRoute const* now, Room room) noexcept {
   if (now != nullptr && !room) room = roomAfterPurge(key, *now);
   if (auto const what = room.use(); what != noChange) {
      auto const leaf = static_cast<std::uint32_t>(what);
      leafIs(key, leaf);
      if (leaf != 0) room_.giveBack();
   }
   noteAdrift(key, now);
}

// A row may come with vias that lead nowhere yet: those of a folder come before the networks are known.
void RouteCarrier::noteAdrift(ip_route_key_t const& key, IpRoute const* now) {
   bool adrift = false;
   if (now != nullptr && now->vias.group() == nullptr) {
      auto vias = now->vias.list(key);
      for (auto const& via : vias) adrift = adrift || (via.intf() == intf_id_t() && via.hop().af() != af_t::none);
      if (adrift) adrift_.insert_or_assign(key, std::move(vias));
   }
   if (!adrift && !adrift_.empty()) adrift_.erase(key);
}

// A purge takes vias away without asking first. What is left of a full table is then missing from the lookup.
Room RouteCarrier::roomAfterPurge(ip_route_key_t const& key, IpRoute const& row) {
   try {
      return prepare(key, &row, row);
   } catch (error const& e) {
      warn_(e.msg());
      return {};
   }
}

void RouteCarrier::leafIs(ip_route_key_t const& key, std::uint32_t leaf) {
   auto const rank = rankOf(key.preference());
   auto const before = leaf == 0 ? routes_.del(key.prefix(), rank) : routes_.set(key.prefix(), rank, leaf);
   leaves_.release(before);
   if ((before == 0) != (leaf == 0)) connected_.routeChanged(vrf_, key.prefix());
}

void RouteCarrier::refused(ip_route_key_t const& key, IpRoute const& /*row*/, std::string const& why) {
   ++refused_;
   warn_(fmt::format("route {} drops: {}", key.prefix().to_string(), why));
   if (!room_.take()) return;
   leafIs(key, leaf_word(LEAF_DROP, 0));
   room_.giveBack();
}

void RouteCarrier::networksChanged() {
   for (auto const& [key, vias] : adrift_) {
      try {
         auto const leaf = leaves_.takeVias(vrf_, vias);
         if (room_.take()) {
            leafIs(key, leaf);
            room_.giveBack();
         } else {
            leaves_.release(leaf);
         }
      } catch (error const& e) {
         warn_(fmt::format("route {} stays as it was: {}", key.prefix().to_string(), e.what()));
      }
   }
}

}  // namespace velm::machine
