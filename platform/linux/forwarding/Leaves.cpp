#include "platform/linux/forwarding/Leaves.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/linux/forwarding/Resting.h"
#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

// A way's share, which the ways divide that it leads through: without a rest up to ten of them.
constexpr std::uint32_t wholeShare = 2520;

void demandPlain(ip_route_via_t const& via) {
   auto const refuse = [&](char const* what) {
      throw unsupported_error(
         fmt::format("the dataplane does not carry out {} of a via of {}", what, via.route_key().prefix().to_string()));
   };
   if (via.vtep_addr().af() != af_t::none || via.vni() != 0) refuse("the VXLAN tunnel");
   if (!!via.router_mac()) refuse("the router MAC");
   if (via.hop().af() == af_t::none) refuse("the missing hop");
}

}  // namespace

std::vector<Leaves::Way> Leaves::waysOf(std::span<ip_route_via_t const> vias) {
   std::vector<Way> ways;
   for (auto const& via : vias) {
      demandPlain(via);
      auto& [way, vrf] = ways.emplace_back();
      vrf = via.egress_vrf();
      way.neighbour = {via.intf(), via.hop()};
      if (via.mpls_label() == mpls_label_t()) continue;
      way.form.kind = EXIT_LABELS;
      way.form.labels.push_back(via.mpls_label().label());
   }
   return ways;
}

Leaves::Found Leaves::find(Place const& place, std::vector<Way> ways) const {
   Found found;
   for (auto& [way, vrf] : ways) {
      auto& [intf, hop] = way.neighbour;
      if (intf != intf_id_t()) {
         way.share = wholeShare;
         found.entries.push_back(std::move(way));
         continue;
      }
      auto led = behind(vrf.empty() ? place : Place{vrfNamed(vrf), {}}, hop);
      found.level = std::max(found.level, led.level);
      for (auto& entry : led.entries) {
         if (!pushWithin(entry.form, way.form)) {
            throw configuration_error(fmt::format("the tunnel to {} carries no labels", hop.to_string()));
         }
         entry.share = std::max(1U, wholeShare / static_cast<std::uint32_t>(led.entries.size()));
         found.entries.push_back(std::move(entry));
      }
   }
   return found;
}

Leaves::Found Leaves::behind(Place const& place, ip_addr_t const& hop) const {
   Found found;
   if (auto const* const group = tunnels_.towards(hop)) {
      found.entries.emplace_back().child = *group;
      return found;
   }
   if (auto const intf = surroundings_.intfTowards(place.vrf, hop); intf != intf_id_t()) {
      found.entries.emplace_back().neighbour = {intf, hop};
      return found;
   }
   auto& routes = vrfs_.of(place.vrf).routes;
   auto const covering = routes.covering(hop, place.prefix);
   if (!covering) return found;
   auto const level = routes.level(covering->first) + 1;
   if (level <= Resting::deepest) found = {entriesOf(covering->second), level};
   return found;
}

// Those of a group that has a name are its own, which changes.
std::vector<EntryForm> Leaves::entriesOf(std::uint32_t leaf) const {
   auto const index = leaf_index_of(leaf);
   std::vector<EntryForm> entries;
   if (leaf_kind_of(leaf) == LEAF_EXIT) {
      auto& entry = entries.emplace_back();
      entry.neighbour = exits_.neighbour(index);
      entry.form = exits_.form(index);
      entry.form.hop = 0;
   } else if (leaf_kind_of(leaf) == LEAF_GROUP && groups_.name(index).empty()) {
      entries = groups_.entries(index);
   } else if (leaf_kind_of(leaf) == LEAF_GROUP) {
      entries.emplace_back().child = groups_.name(index);
   }
   return entries;
}

std::uint32_t Leaves::takeWays(std::vector<EntryForm> entries) {
   if (entries.empty()) return 0;
   if (entries.size() > 1) return leaf_word(LEAF_GROUP, groups_.takeWays(std::move(entries)));
   auto& only = entries.front();
   bool const changesPacket = !only.form.labels.empty() || only.form.takes;
   if (only.child.empty()) return leaf_word(LEAF_EXIT, exits_.take(only.neighbour, std::move(only.form)));
   return changesPacket ? leaf_word(LEAF_GROUP, groups_.takeWays(std::move(entries))) : takeGroup(only.child);
}

void Leaves::release(std::uint32_t leaf) {
   switch (leaf_kind_of(leaf)) {
      case LEAF_GROUP: return groups_.release(leaf_index_of(leaf));
      case LEAF_EXIT: return exits_.release(leaf_index_of(leaf));
      default: return;
   }
}

}  // namespace velm::machine
