#include "convert/IpRoute.h"

#include "convert/AddressFamily.h"
#include "convert/Values.h"
#include "platform/velm/ip_route.h"

// Narrow integers are treated in two ways here and in the other features: some are cut, some are checked. Clients have
// built on either, so no rule is made of it; each place says which it is.
namespace VelmSdkRpc::types {

velm::ip_route_key_t convert(velm::remote::IpRouteKey const& message) {
   velm::ip_route_key_t key;
   key.prefix_is(convert(message.prefix()));
   // Cut and not checked, unlike the metric of an MPLS route: clients rely on either as it is.
   key.preference_is(static_cast<unsigned char>(message.preference()));
   return key;
}

velm::remote::IpRouteKey convert(velm::ip_route_key_t const& key) {
   velm::remote::IpRouteKey message;
   *message.mutable_prefix() = convert(key.prefix());
   message.set_preference(key.preference());
   return message;
}

velm::ip_route_t convert(velm::remote::IpRoute const& message) {
   velm::ip_route_t route;
   route.key_is(convert(message.key()));
   route.tag_is(message.tag());
   return route;
}

velm::remote::IpRoute convert(velm::ip_route_t const& route) {
   velm::remote::IpRoute message;
   *message.mutable_key() = convert(route.key());
   message.set_tag(route.tag());
   return message;
}

velm::ip_route_via_t convert(velm::remote::IpRouteVia const& message) {
   velm::ip_route_via_t via;
   via.route_key_is(convert(message.route_key()));
   via.hop_is(ip_addr(message.hop()));
   via.intf_is(convert(message.intf()));
   via.nexthop_group_is(message.nexthop_group());
   // Always set: an absent label is label 0, whatever label the SDK's value begins with.
   via.mpls_label_is(velm::mpls_label_t(message.mpls_label()));
   via.vni_is(message.vni());
   via.vtep_addr_is(ip_addr(message.vtep_addr()));
   via.router_mac_is(eth_addr(message.router_mac()));
   via.egress_vrf_is(message.egress_vrf());
   via.metric_is(message.metric());
   return via;
}

velm::remote::IpRouteVia convert(velm::ip_route_via_t const& via) {
   velm::remote::IpRouteVia message;
   *message.mutable_route_key() = convert(via.route_key());
   message.set_hop(via.hop().addr(), afToSize(via.hop()));
   *message.mutable_intf() = convert(via.intf());
   message.set_nexthop_group(via.nexthop_group());
   message.set_mpls_label(via.mpls_label().label());
   message.set_vni(via.vni());
   message.set_vtep_addr(via.vtep_addr().addr(), afToSize(via.vtep_addr()));
   // The one MAC address on the wire, so that it needs no function of its own. As with addresses, no bytes are none.
   if (!!via.router_mac()) {
      auto& mac = *message.mutable_router_mac();
      mac.resize(6);
      via.router_mac().bytes(mac.data());
   }
   message.set_egress_vrf(via.egress_vrf());
   message.set_metric(via.metric());
   return message;
}

}  // namespace VelmSdkRpc::types
