#include "platform/linux/LabelCarriers.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <vector>

#include "platform/velm/errors.h"

// What a via does to the label is the exit's: it takes the label off, writes another, or both. Only a way through a
// group says it in the label's word, for the group is others', too.
namespace velm::machine {

using embedded::MplsRoute;
using embedded::MplsRowKey;

namespace {

using Vias = std::span<mpls_route_via_t const>;

[[noreturn]] void refuse(MplsRowKey const& key, std::string const& why) {
   throw unsupported_error(fmt::format("MPLS route {}: {}", key.key().to_string(), why));
}

unsigned versionOf(mpls_payload_type_t type) {
   switch (type) {
      case mpls_payload_type_t::ipv4: return 4;
      case mpls_payload_type_t::ipv6: return 6;
      default: return 0;
   }
}

// What is said of what a pop uncovers. All vias must say it alike, for packets learn it before they choose.
label_word uncoveringOf(MplsRowKey const& key, Vias vias) {
   auto const& first = vias.front();
   for (auto const& via : vias) {
      if (via.ttl_mode() != first.ttl_mode()) refuse(key, "its vias have different TTL modes");
      if (versionOf(via.payload_type()) != versionOf(first.payload_type())) {
         refuse(key, "its vias have different payload types");
      }
   }
   auto const version = label_word{versionOf(first.payload_type())} << LABEL_VERSION_SHIFT;
   return version | (first.ttl_mode() == mpls_ttl_mode_t::pipe ? LABEL_PIPE : 0);
}

EntryForm wayOf(mpls_route_via_t const& via) {
   EntryForm way;
   way.neighbour = {via.intf(), via.hop()};
   auto const action = via.label_action();
   way.form.takes = action == mpls_action_t::swap || action == mpls_action_t::pop;
   if (action == mpls_action_t::swap || action == mpls_action_t::push) {
      way.form.kind = EXIT_LABELS;
      way.form.labels.push_back(via.pushswap_label().label());
   }
   return way;
}

}  // namespace

std::uint64_t LabelCarrier::take(MplsRowKey const& key, MplsRoute const& row) {
   if (key.labels().size() != 1) refuse(key, "packets are told by one label");
   auto const vias = row.vias.list(key.key());
   if (vias.empty()) return 0;
   auto const uncovering = uncoveringOf(key, vias);
   auto const& first = vias.front();
   if (!first.nexthop_group().empty()) {
      auto const action = first.label_action();
      if (vias.size() > 1) refuse(key, "a nexthop group leaves no other via");
      if (action == mpls_action_t::push || action == mpls_action_t::swap) {
         refuse(key, "labels are written by the entries of its nexthop group");
      }
      auto const kind = action == mpls_action_t::pop ? LABEL_POP : LABEL_KEEP;
      return label_of(kind, leaves_.takeGroup(first.nexthop_group())) | uncovering;
   }
   std::vector<Leaves::Way> ways;
   for (auto const& via : vias) {
      if (!via.nexthop_group().empty()) refuse(key, "a nexthop group leaves no other via");
      if (via.hop().af() == af_t::none) refuse(key, "a via names no hop");
      ways.push_back({wayOf(via), {}});
   }
   auto const leaf = leaves_.takeWays(leaves_.find({}, std::move(ways)).entries);
   return leaf == 0 ? 0 : label_of(LABEL_KEEP, leaf) | uncovering;
}

void LabelCarrier::become(MplsRowKey const& key, std::uint64_t word) noexcept {
   if (key.labels().size() != 1) return;  // of a folder, and refused
   auto const label = key.labels().front().label();
   if (word == 0) {
      labels_.del(label, key.metric());
   } else {
      labels_.set(label, key.metric(), word);
   }
}

void LabelCarrier::drop(MplsRowKey const& key) { become(key, label_of(LABEL_KEEP, leaf_word(LEAF_DROP, 0))); }

std::vector<ip_addr_t> LabelCarrier::hopsOf(MplsRowKey const& key, MplsRoute const& row) const {
   if (!row.vias.anyByHopAlone()) return {};
   return hopsAloneOf(row.vias.list(key.key()));
}

std::uint64_t VrfLabelCarrier::take(mpls_label_t const& /*label*/, mpls_vrf_label_t const& row) {
   return label_of(LABEL_VRF, vrfs_.of(vrfNamed(row.vrf_name())).index);
}

void VrfLabelCarrier::become(mpls_label_t const& label, std::uint64_t word) noexcept {
   if (word == 0) {
      labels_.del(label.label(), Labels::vrfRank);
   } else {
      labels_.set(label.label(), Labels::vrfRank, word);
   }
}

std::string VrfLabelCarrier::nameOf(mpls_label_t const& label) const {
   return fmt::format("VRF label {}", label.label());
}

}  // namespace velm::machine
