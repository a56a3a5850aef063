#pragma once

// The values that the conversions of all features are made of.
//
// Conversions are pure functions and know no locks. One that fails throws and leaves nothing behind. The errors are
// those told here and those of the constructors of the SDK's values. An absent message reads as one without fields.

#include <string>

#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"
#include "proto/remote/types.pb.h"

namespace VelmSdkRpc::types {

/// No bytes are the all-zero address. Throws invalid_argument_error for a length other than 0 and 6.
velm::eth_addr_t eth_addr(std::string const& bytes);

/// No bytes are the null address. Throws invalid_argument_error for a length other than 0, 4 and 16.
velm::ip_addr_t ip_addr(std::string const& bytes);
/// The reverse. Throws invalid_argument_error for an unknown family.
std::string ip_addr_bytes(velm::ip_addr_t const& address);

/// Throws invalid_argument_error for what is no interface name.
velm::intf_id_t convert(velm::remote::IntfId const& message);
velm::remote::IntfId convert(velm::intf_id_t const& intf);

/// The length is cut to 8 bits and, like any length, not compared with the family.
velm::ip_prefix_t convert(velm::remote::Prefix const& message);
/// Throws unsupported_error for an unknown family.
velm::remote::Prefix convert(velm::ip_prefix_t const& prefix);

/// The length is cut as that of a prefix.
velm::ip_addr_mask_t convert(velm::remote::IpAddrMask const& message);
/// Throws unsupported_error for an unknown family.
velm::remote::IpAddrMask convert(velm::ip_addr_mask_t const& mask);

/// Throws invalid_range_error for what is no label.
velm::mpls_label_t convert(velm::remote::MplsLabel const& message);
velm::remote::MplsLabel convert(velm::mpls_label_t const& label);

velm::mpls_fec_id_t convert(velm::remote::MplsFecId const& message);
velm::remote::MplsFecId convert(velm::mpls_fec_id_t const& fec);

}  // namespace VelmSdkRpc::types
