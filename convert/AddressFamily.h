#pragma once

// Raw addresses. Neither the wire nor these functions name a family: the number of bytes tells it, 4 for IPv4, 16 for
// IPv6 and none for no address at all. Each caller says what any other number means to it.

#include <cstddef>
#include <optional>
#include <string>

#include "platform/velm/errors.h"
#include "platform/velm/ip.h"

namespace VelmSdkRpc::types {

/// The address that the bytes are: none are the null address, and a number of bytes that no family has is no address. A
/// mirror service refuses such a one, the native service ends the process over it.
inline std::optional<velm::ip_addr_t> addressOf(std::string const& bytes) {
   auto const* const data = reinterpret_cast<unsigned char const*>(bytes.data());
   switch (bytes.size()) {
      case 0: return velm::ip_addr_t();
      case 4: return velm::ip_addr_t(velm::af_t::ipv4, data);
      case 16: return velm::ip_addr_t(velm::af_t::ipv6, data);
      default: return std::nullopt;
   }
}

/// How many bytes an address has, or that of a prefix or mask; 0 for the null address. Throws unsupported_error for an
/// unknown family, where ip_addr_bytes throws invalid_argument_error: clients have read both codes, each from its own
/// fields, so that the two do not become one.
template <class Address>
std::size_t afToSize(Address const& address) {
   if (!is_valid(address.af())) throw velm::unsupported_error("Unknown address family on conversion from SDK");
   return velm::address_size(address.af());
}

}  // namespace VelmSdkRpc::types
