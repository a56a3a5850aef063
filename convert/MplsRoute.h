#pragma once

#include "proto/remote/mpls_route.pb.h"

namespace velm {
class mpls_route_key_t;
class mpls_route_t;
class mpls_route_via_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// To the SDK: of several faults of one message the first in the order told here is the one reported.

/// Throws invalid_range_error for what is no label, then invalid_argument_error for a metric above 255.
velm::mpls_route_key_t convert(velm::remote::MplsRouteKey const& message);
velm::remote::MplsRouteKey convert(velm::mpls_route_key_t const& key);

/// Throws as its key does.
velm::mpls_route_t convert(velm::remote::MplsRoute const& message);
velm::remote::MplsRoute convert(velm::mpls_route_t const& route);

/// Throws invalid_argument_error for an unknown label action, then as its key does, then for what is no address, no
/// interface name or no label, and for an unknown TTL mode or payload type. An absent label is label 0.
velm::mpls_route_via_t convert(velm::remote::MplsRouteVia const& message);
/// Throws invalid_argument_error for an unknown address family and for an enum's unknown number.
velm::remote::MplsRouteVia convert(velm::mpls_route_via_t const& via);

}  // namespace VelmSdkRpc::types
