#pragma once

#include <optional>
#include <utility>

#include "platform/linux/netlink/Message.h"
#include "platform/velm/ip.h"

namespace velm::netlink {

/// A host on a link, as the kernel knows it by ARP or neighbour discovery.
struct Neighbour {
   int ifindex = 0;
   ip_addr_t address;
   eth_addr_t mac;          // none while unresolved: asked for and not answered yet, or given up
   bool managed = false;    // the kernel keeps it resolved
   bool permanent = false;  // set by hand; it stays whatever happens

   std::pair<int, ip_addr_t> key() const { return {ifindex, address}; }
   bool continues(Neighbour const&) const { return true; }
   bool operator==(Neighbour const&) const = default;
};

/// Reads RTM_NEWNEIGH and RTM_DELNEIGH of hosts: not of a bridge's forwarding table, nor of addresses that stand for
/// many (multicast, broadcast) or need no asking.
std::optional<Neighbour> readNeighbour(nlmsghdr const& message);
/// Asks for the neighbours on all links.
Request listOfNeighbours();

}  // namespace velm::netlink
