#include "platform/linux/forwarding/Leaves.h"

#include <fmt/format.h>

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
   if (!via.egress_vrf().empty()) refuse("the egress VRF");
   if (via.hop().af() == af_t::none) refuse("the missing hop");
}

}  // namespace

Exits::Id Leaves::takeExit(ip_route_via_t const& via, intf_id_t intf) {
   ExitForm form;
   if (via.mpls_label() != mpls_label_t()) {
      form.kind = EXIT_LABELS;
      form.labels.push_back(via.mpls_label().label());
   }
   return exits_.take({intf, via.hop()}, std::move(form));
}

std::vector<Member> Leaves::takeMembers(std::string const& vrf, std::span<ip_route_via_t const> vias) {
   std::vector<Member> members;
   try {
      for (auto const& via : vias) {
         demandPlain(via);
         auto const intf = via.intf() != intf_id_t() ? via.intf() : surroundings_.intfTowards(vrf, via.hop());
         if (intf != intf_id_t()) members.push_back({takeExit(via, intf), 1});
      }
   } catch (error const&) {
      for (auto const& member : members) exits_.release(member.exit);
      throw;
   }
   return members;
}

std::uint32_t Leaves::takeVias(std::string const& vrf, std::span<ip_route_via_t const> vias) {
   auto members = takeMembers(vrf, vias);
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
