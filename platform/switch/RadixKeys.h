#pragma once

#include <cstring>
#include <endian.h>

#include "platform/switch/RadixMap.h"
#include "platform/velm/ip.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls.h"

/// The keys of which a switch has a million, as words. Their last bits end with a digit, so that neighbours meet in one
/// node.
namespace velm::embedded {

/// Family in 4 bits, address in 128, then length and preference.
template <>
struct RadixWords<ip_prefix_t> {
   static std::uint64_t word(ip_prefix_t const& prefix, std::size_t index, unsigned char preference = 0) {
      auto const& network = prefix.network();
      switch (index) {
         case 0: return static_cast<std::uint64_t>(network.af()) << 60 | half(network, 0) >> 4;
         case 1: return half(network, 0) << 60 | half(network, 8) >> 4;
         case 2:
            return half(network, 8) << 60 | static_cast<std::uint64_t>(prefix.prefix_length()) << 52 |
                   static_cast<std::uint64_t>(preference) << 44;
         default: return 0;
      }
   }

 private:
   static std::uint64_t half(ip_addr_t const& address, std::size_t at) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, address.addr() + at, sizeof bits);
      return be64toh(bits);
   }
};

template <>
struct RadixWords<ip_route_key_t> {
   static std::uint64_t word(ip_route_key_t const& key, std::size_t index) {
      return RadixWords<ip_prefix_t>::word(key.prefix(), index, key.preference());
   }
};

template <>
struct RadixWords<mpls_label_t> {
   static std::uint64_t word(mpls_label_t label, std::size_t index) {
      return index == 0 ? static_cast<std::uint64_t>(label.label()) << 40 : 0;
   }
};

}  // namespace velm::embedded
