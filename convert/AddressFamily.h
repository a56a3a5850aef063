#pragma once

// For the sources of this folder alone: addresses as bytes, which tell their family by their number.

#include <cstddef>
#include <optional>
#include <string>

#include "platform/velm/errors.h"
#include "platform/velm/ip.h"

namespace VelmSdkRpc::types {

/// The address of that many bytes, none of them the null address; nothing for a length that no family has, which some
/// callers refuse and others take for a broken client.
inline std::optional<velm::ip_addr_t> addressOf(std::string const& bytes) {
   auto const* const data = reinterpret_cast<unsigned char const*>(bytes.data());
   switch (bytes.size()) {
      case 0: return velm::ip_addr_t();
      case 4: return velm::ip_addr_t(velm::af_t::ipv4, data);
      case 16: return velm::ip_addr_t(velm::af_t::ipv6, data);
      default: return std::nullopt;
   }
}

/// The bytes of an address, or of that of a prefix or mask. An unknown family is an unsupported_error here, where
/// ip_addr_bytes has an invalid_argument_error. Clients have seen both, so each field keeps the form that it has.
template <class Address>
std::size_t afToSize(Address const& address) {
   if (!is_valid(address.af())) throw velm::unsupported_error("Unknown address family on conversion from SDK");
   return velm::address_size(address.af());
}

}  // namespace VelmSdkRpc::types
