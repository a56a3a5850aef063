#pragma once

#include "proto/remote/bgp_path.pb.h"

namespace velm {
class bgp_path_attr_fields_t;
class bgp_path_attr_t;
class bgp_path_key_t;
class bgp_path_options_t;
class bgp_path_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// BGP paths. Keys cross both ways; what the switch learned of a path only leaves, and what a client wants to read of it
// only comes in.

/// Throws invalid_argument_error if the peer's address has the wrong number of bytes, then if the prefix's has.
velm::bgp_path_key_t convert(velm::remote::BgpPathKey const& message);
/// An unknown address family is an invalid_argument_error in the peer's address, an unsupported_error in the prefix.
velm::remote::BgpPathKey convert(velm::bgp_path_key_t const& key);

/// Which attributes the client wants; those not asked for come back blank.
velm::bgp_path_attr_fields_t convert(velm::remote::BgpPathAttrFields const& message);

/// The stage is the one enum that is not checked: any number passes to the switch.
velm::bgp_path_options_t convert(velm::remote::BgpPathOptions const& message);

/// The communities are in no particular order. Throws invalid_argument_error if the next hop is of an unknown address
/// family.
velm::remote::BgpPathAttrs convert(velm::bgp_path_attr_t const& attr);

/// The key and the attributes; throws as these do, the key first.
velm::remote::BgpPath convert(velm::bgp_path_t const& path);

}  // namespace VelmSdkRpc::types
