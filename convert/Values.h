#pragma once

// The values that the conversions of all features are made of, and the rules that hold for all of them.
//
// There is one `convert` for each type and way: from a message to a value of the SDK, or from such a value to a new
// message. Conversions are pure functions: they know no locks, and one that fails throws and has changed nothing. An
// engine above turns what they throw into the client's status. The errors are those listed here and those of the
// constructors of the SDK's values. An absent message reads as one without fields, which is never an error in itself.

#include <string>

#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"
#include "proto/remote/types.pb.h"

namespace VelmSdkRpc::types {

/// A MAC address; no bytes are the all-zero one. Throws invalid_argument_error unless there are 0 or 6 bytes.
velm::eth_addr_t eth_addr(std::string const& bytes);

/// An IP address; no bytes are the null address. Throws invalid_argument_error unless there are 0, 4 or 16 bytes.
velm::ip_addr_t ip_addr(std::string const& bytes);
/// The bytes of an address, none for the null address. Throws invalid_argument_error for an unknown family.
std::string ip_addr_bytes(velm::ip_addr_t const& address);

/// No name is no interface. Throws invalid_argument_error for any other text that names none.
velm::intf_id_t convert(velm::remote::IntfId const& message);
velm::remote::IntfId convert(velm::intf_id_t const& intf);

/// The length is cut to 8 bits, not checked: 257 is 1. Nor is it compared with the family here: reads of a prefix that
/// is too long find nothing, sets are refused by the switch.
velm::ip_prefix_t convert(velm::remote::Prefix const& message);
/// The address is that of the network: the bits beyond the length are 0, whatever the client once sent. Throws
/// unsupported_error for an unknown family.
velm::remote::Prefix convert(velm::ip_prefix_t const& prefix);

/// An address with a mask; all bits of the address count. The length is cut to 8 bits, not checked.
velm::ip_addr_mask_t convert(velm::remote::IpAddrMask const& message);
/// Throws unsupported_error for an unknown family.
velm::remote::IpAddrMask convert(velm::ip_addr_mask_t const& mask);

/// Throws invalid_range_error for a label above 1048575.
velm::mpls_label_t convert(velm::remote::MplsLabel const& message);
velm::remote::MplsLabel convert(velm::mpls_label_t const& label);

/// The switch's id of a forwarding equivalence class; 0 is none. Any number passes.
velm::mpls_fec_id_t convert(velm::remote::MplsFecId const& message);
velm::remote::MplsFecId convert(velm::mpls_fec_id_t const& fec);

}  // namespace VelmSdkRpc::types
