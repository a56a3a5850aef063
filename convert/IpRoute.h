#pragma once

#include "proto/remote/ip_route.pb.h"

namespace velm {
class ip_route_key_t;
class ip_route_t;
class ip_route_via_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// IP routes and their vias.
//
// To the SDK: throws invalid_argument_error for an address whose number of bytes no family has; where a message has
// several faults, the client reads that of the first field. To the wire: throws unsupported_error for an address of an
// unknown family.

/// The preference is cut to 8 bits, not checked: 257 is preference 1.
velm::ip_route_key_t convert(velm::remote::IpRouteKey const& message);
velm::remote::IpRouteKey convert(velm::ip_route_key_t const& key);

/// Key and tag. The action that the route takes travels beside it in the requests.
velm::ip_route_t convert(velm::remote::IpRoute const& message);
velm::remote::IpRoute convert(velm::ip_route_t const& route);

/// Also throws invalid_argument_error for a text that names no interface and for a MAC address of neither 0 nor 6
/// bytes; invalid_range_error for a label above 1048575. A label that is absent is label 0, not the SDK's default.
velm::ip_route_via_t convert(velm::remote::IpRouteVia const& message);
/// The all-zero MAC address leaves as no bytes, which is how it came.
velm::remote::IpRouteVia convert(velm::ip_route_via_t const& via);

}  // namespace VelmSdkRpc::types
