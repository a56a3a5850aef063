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

/// Throws invalid_argument_error for what is no address: of the peer first, then of the prefix.
velm::bgp_path_key_t convert(velm::remote::BgpPathKey const& message);
/// For an unknown address family throws invalid_argument_error if it is the peer's, unsupported_error if the prefix's.
velm::remote::BgpPathKey convert(velm::bgp_path_key_t const& key);

velm::bgp_path_attr_fields_t convert(velm::remote::BgpPathAttrFields const& message);

/// The stage passes whatever its number.
velm::bgp_path_options_t convert(velm::remote::BgpPathOptions const& message);

/// The communities come in no particular order. Throws invalid_argument_error for an unknown address family.
velm::remote::BgpPathAttrs convert(velm::bgp_path_attr_t const& attr);

/// Throws as its key does, then as its attributes do.
velm::remote::BgpPath convert(velm::bgp_path_t const& path);

}  // namespace VelmSdkRpc::types
