#pragma once

// For the sources of this folder alone: the sizes of addresses on their way to the wire.

#include <cstddef>

#include "platform/velm/errors.h"
#include "platform/velm/ip.h"

namespace VelmSdkRpc::types {

/// No address is a family, too.
constexpr bool isKnown(velm::af_t af) { return af == velm::af_t::none || velm::address_size(af) != 0; }

/// The bytes of an address, or of that of a prefix or mask. An unknown family is an unsupported_error here, where
/// ip_addr_bytes has an invalid_argument_error. Clients have seen both, so each field keeps the form that it has.
template <class Address>
std::size_t afToSize(Address const& address) {
   if (!isKnown(address.af())) throw velm::unsupported_error("Unknown address family on conversion from SDK");
   return velm::address_size(address.af());
}

}  // namespace VelmSdkRpc::types
