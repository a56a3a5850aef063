#include "convert/MplsRoute.h"

#include <vector>

#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/mpls_route.h"

// A route's key holds a stack of labels. Its labels are converted before its metric, and an action before the key, so
// that a client with several faults reads the same one as ever.
namespace VelmSdkRpc::types {

velm::mpls_route_key_t convert(velm::remote::MplsRouteKey const& message) {
   std::vector<velm::mpls_label_t> labels;
   labels.reserve(message.labels_size());
   for (auto const& label : message.labels()) labels.push_back(convert(label));
   // After the labels, so that a client with both faults reads that of the label.
   auto const metric = boundaryCheck<unsigned char>(message.metric(), "metric {} is out of range");
   return {labels, metric};
}

velm::remote::MplsRouteKey convert(velm::mpls_route_key_t const& key) {
   velm::remote::MplsRouteKey message;
   message.mutable_labels()->Reserve(key.labels().size());
   for (auto const& label : key.labels()) *message.add_labels() = convert(label);
   message.set_metric(key.metric());
   return message;
}

velm::mpls_route_t convert(velm::remote::MplsRoute const& message) {
   return velm::mpls_route_t(convert(message.key()));
}

velm::remote::MplsRoute convert(velm::mpls_route_t const& route) {
   velm::remote::MplsRoute message;
   *message.mutable_key() = convert(route.key());
   return message;
}

velm::mpls_route_via_t convert(velm::remote::MplsRouteVia const& message) {
   // Before the key, so that a client with both faults reads that of the action and not that of the key's metric.
   auto const action = convert(message.label_action());
   velm::mpls_route_via_t via(convert(message.route_key()), action);
   via.hop_is(ip_addr(message.hop()));
   via.intf_is(convert(message.intf()));
   via.pushswap_label_is(convert(message.pushswap_label()));
   via.ttl_mode_is(convert(message.ttl_mode()));
   via.payload_type_is(convert(message.payload_type()));
   via.skip_egress_acl_is(message.skip_egress_acl());
   via.nexthop_group_is(message.nexthop_group());
   return via;
}

velm::remote::MplsRouteVia convert(velm::mpls_route_via_t const& via) {
   velm::remote::MplsRouteVia message;
   *message.mutable_route_key() = convert(via.route_key());
   message.set_hop(ip_addr_bytes(via.hop()));
   *message.mutable_intf() = convert(via.intf());
   *message.mutable_pushswap_label() = convert(via.pushswap_label());
   message.set_label_action(convert(via.label_action()));
   message.set_ttl_mode(convert(via.ttl_mode()));
   message.set_payload_type(convert(via.payload_type()));
   message.set_skip_egress_acl(via.skip_egress_acl());
   message.set_nexthop_group(via.nexthop_group());
   return message;
}

}  // namespace VelmSdkRpc::types
