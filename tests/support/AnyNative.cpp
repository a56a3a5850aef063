#include "tests/support/AnyNative.h"

#include <fmt/format.h>

#include "tests/support/NativeMessages.h"

namespace VelmSdkRpc {
namespace {

constexpr std::uint32_t labelCount = 1048576;

}  // namespace

NativeKeys NativeKeys::of(unsigned controller) {
   return {fmt::format("c{}.", controller), std::to_string(10 + controller), fmt::format("2001:db{}", controller),
           1000 * controller};
}

bool NativeKeys::own(std::string const& key) const {
   auto const kind = key.substr(0, key.find(' '));
   auto const name = key.substr(kind.size() + 1);
   if (kind == "route" || kind == "tunnel") return name.starts_with(ipv4 + '.') || name.starts_with(ipv6 + ':');
   if (kind != "label" && kind != "session") return name.starts_with(group);
   auto const label = std::stoul("0" + name.substr(name.find('/') + 1));
   return label >= lowLabel && label < lowLabel + labels;
}

Batch AnyNative::batch(int most, bool redirects) {
   auto const kind = upTo(redirects ? 7 : 6);
   Batch elements;
   for (int left = kind == 0 ? 1 : 1 + upTo(most); left > 0; --left) elements.push_back(ofKind(kind));
   return elements;
}

Element AnyNative::ofKind(int kind) {
   switch (kind) {
      case 0: return pairs();
      case 1: return group();
      case 2: return tunnel();
      case 3: return route();
      case 4: return label();
      case 5: return session();
      default: {
         auto request = redirect();
         request.set_request_delete(oneIn(6));
         return request;
      }
   }
}

pb::rpc_server_state_config_msg AnyNative::pairs() {
   pb::rpc_server_state_config_msg request;
   for (int left = upTo(3); left > 0; --left) {
      auto& pair = *request.add_set();
      pair.set_key(pairKey());
      pair.set_value(std::to_string(upTo(1000)));
   }
   for (int left = upTo(3); left > 0; --left) request.add_delete_()->set_key(pairKey());
   return request;
}

pb::nexthop_group_msg AnyNative::group() {
   auto request = groupMsg(oneIn(20) ? "" : groupName(), "Ethernet1", upTo(4));
   request.set_request_delete(oneIn(3));
   if (oneIn(20)) request.clear_nexthop();
   return request;
}

pb::nexthop_group_tunnel_msg AnyNative::tunnel() {
   auto request = tunnelMsg(prefix(), groupOrNone(), upTo(3));
   if (oneIn(20)) request.mutable_prefix()->set_prefix_length(129);
   return request;
}

pb::ip_route_msg AnyNative::route() {
   auto request = routeMsg(prefix(), groupOrNone(), oneIn(20) ? tag_ + 1 : tag_);
   if (oneIn(20)) request.mutable_prefix()->set_prefix_length(129);
   return request;
}

pb::mpls_route_msg AnyNative::label() {
   pb::mpls_route_msg request;
   request.set_label(oneIn(20) ? labelCount + upTo(2) : keys_.lowLabel + upTo(NativeKeys::labels));
   switch (upTo(10)) {
      case 0: break;  // chooses no form
      case 1: request.mutable_forward_nexthop_group()->set_nexthop_group(groupName()); break;
      case 2: request = labelToGroup(request.label(), groupName()); break;
      case 3:
      case 4: request.set_pop_and_forward_vrf_name(oneIn(10) ? "" : "red"); break;
      default: fill(*request.mutable_nexthop());
   }
   request.set_request_delete(oneIn(4));
   return request;
}

pb::sbfd_echo_session_msg AnyNative::session() {
   auto request = sessionMsg(fmt::format("Ethernet{}", 1 + upTo(4)), keys_.lowLabel + upTo(3), oneIn(2));
   request.set_rtt_enabled(oneIn(2));
   if (oneIn(2)) {
      request.set_min_tx(100 + upTo(3));
      request.set_detection_multiplier(2 + upTo(3));
   }
   request.set_request_delete(oneIn(4));
   return request;
}

pb::cbf_nexthop_group_redirect_msg AnyNative::redirect() {
   pb::cbf_nexthop_group_redirect_msg request;
   request.set_match_nexthop_group_name(fmt::format("{}{}", keys_.group, upTo(3)));
   request.set_redirect_nexthop_group_name(fmt::format("to{}{}", keys_.group, upTo(3)));
   for (int left = 1 + upTo(3); left > 0; --left) request.add_match_ipv4_dscp(upTo(64));
   for (int left = upTo(3); left > 0; --left) request.add_match_ipv6_dscp(upTo(64));
   return request;
}

void AnyNative::fill(pb::nexthop_msg& nexthop) {
   nexthop.set_nexthop_interface("Ethernet1");
   if (oneIn(2)) nexthop.mutable_nexthop_ip()->set_addr(std::string("\x0a\0\0\x01", 4));
   nexthop.set_mpls_operation(static_cast<pb::nexthop_msg::mpls_operation_enum>(upTo(6)));
   bool const wantsNone = nexthop.mpls_operation() == pb::nexthop_msg::MPLS_OP_POP;
   for (int count = oneIn(5) ? upTo(3) : (wantsNone ? 0 : 1); count > 0; --count) {
      nexthop.add_labels(oneIn(20) ? labelCount : upTo(1000));
   }
}

std::string AnyNative::pairKey() { return fmt::format("{}{}", keys_.group, upTo(4)); }

std::string AnyNative::groupName() { return fmt::format("{}{}", keys_.group, upTo(4)); }

std::string AnyNative::prefix() {
   return oneIn(3) ? fmt::format("{}:{}::/48", keys_.ipv6, upTo(3)) : fmt::format("{}.{}.0.0/16", keys_.ipv4, upTo(5));
}

}  // namespace VelmSdkRpc
