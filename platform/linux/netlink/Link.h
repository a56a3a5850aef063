#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/netlink/Message.h"
#include "platform/velm/ip.h"

namespace velm::netlink {

/// Where an XDP program is attached, under the kernel's numbers.
enum class XdpMode : std::uint8_t { none, native, generic, offloaded, several };

/// A link of the kernel's.
struct Link {
   int ifindex = 0;
   std::string name;
   std::string kind;          // "veth", "vlan", "vrf", "dummy"; empty for a device that is none of the kernel's making
   bool adminUp = false;      // somebody wants it up
   bool carrier = false;      // it is up and its medium is there
   bool operational = false;  // it is up and packets pass: carrier, and whatever else the kind of link waits for
   std::uint32_t mtu = 0;
   eth_addr_t mac;               // none for a link without Ethernet addresses
   std::string alias;            // the description
   int master = 0;               // the bridge or VRF that it is in; 0 for none
   int parent = 0;               // of a VLAN, the link below it; 0 for none, or one of another network namespace
   std::uint16_t vlan = 0;       // of a VLAN, its id
   std::uint32_t vrfTable = 0;   // of a VRF, its routing table
   XdpMode xdp = XdpMode::none;  // as of the last notice, of which the attaching of a bpf_link raises none

   int key() const { return ifindex; }
   /// A link under another name is another link, for names are what links are known by.
   bool continues(Link const& before) const { return name == before.name && kind == before.kind; }
   bool operator==(Link const&) const = default;
};

/// Reads RTM_NEWLINK and RTM_DELLINK; nothing from those that tell less than a link: a bridge's about its port, and a
/// radio's.
std::optional<Link> readLink(nlmsghdr const& message);
/// Asks for all links, without their statistics.
Request listOfLinks();

}  // namespace velm::netlink
