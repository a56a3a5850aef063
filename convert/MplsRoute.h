#pragma once

#include "proto/remote/mpls_route.pb.h"

namespace velm {
class mpls_route_key_t;
class mpls_route_t;
class mpls_route_via_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// MPLS routes and their vias. On the way to the SDK, where a message has several faults, the client reads the one that
// its function lists first.

/// The labels keep their order, outermost first. Throws invalid_range_error for the first label above 1048575, then
/// invalid_argument_error for a metric above 255.
velm::mpls_route_key_t convert(velm::remote::MplsRouteKey const& message);
velm::remote::MplsRouteKey convert(velm::mpls_route_key_t const& key);

/// A route is its key; its vias are set one by one. Throws as the key does.
velm::mpls_route_t convert(velm::remote::MplsRoute const& message);
velm::remote::MplsRoute convert(velm::mpls_route_t const& route);

/// Throws for the first of these that is wrong, invalid_argument_error unless it says otherwise:
///   1. the label action;
///   2. the key of its route: invalid_range_error for a label, then the metric;
///   3. the number of bytes of the hop's address, the name of the interface;
///   4. the label to push or swap in: invalid_range_error above 1048575. An absent one is label 0;
///   5. the TTL mode, the payload type.
velm::mpls_route_via_t convert(velm::remote::MplsRouteVia const& message);
/// Throws invalid_argument_error for an unknown address family or an unknown value of an enum.
velm::remote::MplsRouteVia convert(velm::mpls_route_via_t const& via);

}  // namespace VelmSdkRpc::types
