#pragma once

#include <optional>
#include <utility>

#include "platform/linux/netlink/Message.h"
#include "platform/velm/ip.h"

namespace velm::netlink {

/// An IP address of a link.
struct Address {
   int ifindex = 0;
   ip_addr_mask_t address;
   bool automatic = false;  // made by the kernel: IPv6 link-local, by a router's announcement, ::1

   std::pair<int, ip_addr_mask_t> key() const { return {ifindex, address}; }
   bool continues(Address const&) const { return true; }
   bool operator==(Address const&) const = default;
};

/// An address with what the kernel thinks of its use.
struct AddressState {
   Address address;
   bool tentative = false;  // looked for among the neighbours, not usable yet
   bool duplicate = false;  // found there: never usable
};

/// Reads RTM_NEWADDR and RTM_DELADDR of IPv4 and IPv6.
std::optional<AddressState> readAddress(nlmsghdr const& message);
/// Asks for the addresses of a link, or of all links for 0.
Request listOfAddresses(int ifindex = 0);

}  // namespace velm::netlink
