#include "platform/linux/netlink/Link.h"

#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>

namespace velm::netlink {
namespace {

eth_addr_t macOf(Attributes const& attributes) {
   nlattr const* const address = attributes.find(IFLA_ADDRESS);
   if (address == nullptr || address->nla_len != NLA_HDRLEN + 6) return {};
   return eth_addr_t(reinterpret_cast<unsigned char const*>(address) + NLA_HDRLEN);
}

void readKind(Attributes const& attributes, Link& link) {
   auto const info = attributes.nested(IFLA_LINKINFO);
   auto const data = info.nested(IFLA_INFO_DATA);
   link.kind = info.text(IFLA_INFO_KIND);
   if (link.kind == "vlan") {
      link.vlan = data.get<std::uint16_t>(IFLA_VLAN_ID).value_or(0);
      bool const elsewhere = attributes.find(IFLA_LINK_NETNSID) != nullptr;
      link.parent = elsewhere ? 0 : attributes.get<int>(IFLA_LINK).value_or(0);
   } else if (link.kind == "vrf") {
      link.vrfTable = data.get<std::uint32_t>(IFLA_VRF_TABLE).value_or(0);
   }
}

}  // namespace

std::optional<Link> readLink(nlmsghdr const& message) {
   auto const* const header = headerOf<ifinfomsg>(message);
   if (header == nullptr || header->ifi_family != AF_UNSPEC) return std::nullopt;
   Attributes const attributes(message, sizeof *header);
   if (attributes.find(IFLA_WIRELESS) != nullptr) return std::nullopt;
   Link link;
   link.ifindex = header->ifi_index;
   link.name = attributes.text(IFLA_IFNAME);
   link.adminUp = (header->ifi_flags & IFF_UP) != 0;
   link.carrier = (header->ifi_flags & IFF_LOWER_UP) != 0;
   // A link that is just set up counts as running until the kernel has looked for the carrier.
   link.operational = link.carrier && (header->ifi_flags & IFF_RUNNING) != 0;
   link.mtu = attributes.get<std::uint32_t>(IFLA_MTU).value_or(0);
   link.mac = macOf(attributes);
   link.alias = attributes.text(IFLA_IFALIAS);
   link.master = attributes.get<int>(IFLA_MASTER).value_or(0);
   link.xdp = static_cast<XdpMode>(attributes.nested(IFLA_XDP).get<std::uint8_t>(IFLA_XDP_ATTACHED).value_or(0));
   readKind(attributes, link);
   return link;
}

Request listOfLinks() {
   Request request(RTM_GETLINK, NLM_F_DUMP, ifinfomsg{});
   request.put<std::uint32_t>(IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
   return request;
}

}  // namespace velm::netlink
