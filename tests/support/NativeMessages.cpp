#include "tests/support/NativeMessages.h"

#include "platform/velm/ip.h"

namespace VelmSdkRpc {
namespace {

pb::mpls_route_msg labelMsg(std::uint32_t label) {
   pb::mpls_route_msg route;
   route.set_label(label);
   return route;
}

}  // namespace

pb::ip_prefix_msg prefixMsg(std::string const& text) {
   velm::ip_prefix_t const prefix(text);
   pb::ip_prefix_msg message;
   message.set_addr(prefix.network().addr(), velm::address_size(prefix.af()));
   message.set_prefix_length(prefix.prefix_length());
   return message;
}

pb::ip_route_msg routeMsg(std::string const& prefix, std::string const& group, std::uint32_t tag) {
   pb::ip_route_msg route;
   *route.mutable_prefix() = prefixMsg(prefix);
   if (!group.empty()) route.set_nexthop_group(group);
   route.set_tag(tag);
   return route;
}

pb::nexthop_group_msg groupMsg(std::string const& name, std::string const& intf, std::uint32_t count) {
   pb::nexthop_group_msg group;
   group.set_name(name);
   auto& nexthop = *group.add_nexthop();
   nexthop.set_nexthop_interface(intf);
   nexthop.set_replicate_count(count);
   return group;
}

pb::nexthop_group_tunnel_msg tunnelMsg(std::string const& prefix, std::string const& group, std::uint32_t metric) {
   pb::nexthop_group_tunnel_msg tunnel;
   *tunnel.mutable_prefix() = prefixMsg(prefix);
   tunnel.set_nexthop_group(group);
   tunnel.set_igp_metric(metric);
   return tunnel;
}

pb::mpls_route_msg labelToNexthop(std::uint32_t label, std::uint32_t swap) {
   auto route = labelMsg(label);
   auto& nexthop = *route.mutable_nexthop();
   nexthop.set_nexthop_interface("Ethernet1");
   nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_SWAP);
   nexthop.add_labels(swap);
   return route;
}

pb::mpls_route_msg labelToGroup(std::uint32_t label, std::string const& group) {
   auto route = labelMsg(label);
   auto& forward = *route.mutable_forward_nexthop_group();
   forward.set_nexthop_group(group);
   forward.set_mpls_operation(pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_FORWARD);
   return route;
}

pb::mpls_route_msg labelToVrf(std::uint32_t label, std::string const& vrf) {
   auto route = labelMsg(label);
   route.set_pop_and_forward_vrf_name(vrf);
   return route;
}

pb::mpls_route_msg labelDeletion(std::uint32_t label) { return deletionOf(labelMsg(label)); }

pb::sbfd_echo_session_msg sessionMsg(std::string const& intf, std::uint32_t label, bool track) {
   pb::sbfd_echo_session_msg request;
   auto& key = *request.mutable_session_key();
   key.set_outgoing_interface(intf);
   key.mutable_nexthop()->set_addr(std::string("\x0a\0\0\x01", 4));
   key.add_labels(label);
   request.set_track_interface_state(track);
   return request;
}

}  // namespace VelmSdkRpc
