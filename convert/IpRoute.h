#pragma once

#include "proto/remote/ip_route.pb.h"

namespace velm {
class ip_route_key_t;
class ip_route_t;
class ip_route_via_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// To the SDK: of several faults of one message the first in the order of its fields is the one reported. Each throws
// invalid_argument_error for an address of no family's length.
// To the wire: each throws unsupported_error for an address of an unknown family.

/// The preference is cut to 8 bits.
velm::ip_route_key_t convert(velm::remote::IpRouteKey const& message);
velm::remote::IpRouteKey convert(velm::ip_route_key_t const& key);

velm::ip_route_t convert(velm::remote::IpRoute const& message);
velm::remote::IpRoute convert(velm::ip_route_t const& route);

/// Throws invalid_argument_error for what is no MAC address or no interface name, too, and invalid_range_error for what
/// is no label. An absent label is label 0.
velm::ip_route_via_t convert(velm::remote::IpRouteVia const& message);
/// The all-zero MAC address leaves as no bytes.
velm::remote::IpRouteVia convert(velm::ip_route_via_t const& via);

}  // namespace VelmSdkRpc::types
