#include "platform/linux/forwarding/Leaves.h"

#include <fmt/format.h>

#include "platform/linux/forwarding/Vrfs.h"
#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

void demandPlain(ip_route_via_t const& via) {
   auto const refuse = [&](char const* what) {
      throw unsupported_error(
         fmt::format("the dataplane does not carry out {} of a via of {}", what, via.route_key().prefix().to_string()));
   };
   if (via.vtep_addr().af() != af_t::none || via.vni() != 0) refuse("the VXLAN tunnel");
   if (!!via.router_mac()) refuse("the router MAC");
   if (via.hop().af() == af_t::none) refuse("the missing hop");
}

Way wayOf(ip_route_via_t const& via) {
   Way way;
   way.neighbour = {via.intf(), via.hop()};
   if (via.mpls_label() != mpls_label_t()) {
      way.form.kind = EXIT_LABELS;
      way.form.labels.push_back(via.mpls_label().label());
   }
   return way;
}

}  // namespace

std::vector<Member> Leaves::takeMembers(std::string const& vrf, std::vector<Way> ways) {
   std::vector<Member> members;
   try {
      for (auto& [neighbour, form, weight] : ways) {
         auto& [intf, hop] = neighbour;
         if (intf == intf_id_t()) intf = surroundings_.intfTowards(vrf, hop);
         if (intf != intf_id_t()) members.push_back({exits_.take(neighbour, std::move(form)), 1});
      }
   } catch (error const&) {
      for (auto const& member : members) exits_.release(member.exit);
      throw;
   }
   return members;
}

std::uint32_t Leaves::takeVias(std::string const& vrf, std::span<ip_route_via_t const> vias) {
   std::vector<Way> ways;
   for (auto const& via : vias) {
      demandPlain(via);
      ways.push_back(wayOf(via));
      // What leaves one VRF for another is sought there.
      auto& [intf, hop] = ways.back().neighbour;
      if (intf == intf_id_t() && !via.egress_vrf().empty())
         intf = surroundings_.intfTowards(vrfNamed(via.egress_vrf()), hop);
   }
   return takeWays(vrf, std::move(ways));
}

std::uint32_t Leaves::takeWays(std::string const& vrf, std::vector<Way> ways) {
   auto members = takeMembers(vrf, std::move(ways));
   if (members.empty()) return 0;
   if (members.size() == 1) return leaf_word(LEAF_EXIT, members.front().exit);
   return leaf_word(LEAF_GROUP, groups_.takeWays(std::move(members)));
}

void Leaves::release(std::uint32_t leaf) {
   switch (leaf_kind_of(leaf)) {
      case LEAF_GROUP: return groups_.release(leaf_index_of(leaf));
      case LEAF_EXIT: return exits_.release(leaf_index_of(leaf));
      default: return;
   }
}

}  // namespace velm::machine
