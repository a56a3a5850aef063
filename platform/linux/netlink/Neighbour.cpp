#include "platform/linux/netlink/Neighbour.h"

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstdint>

namespace velm::netlink {
namespace {

unsigned char const* bytesOf(Attributes const& attributes, int attribute, std::size_t size) {
   nlattr const* const found = attributes.find(attribute);
   if (found == nullptr || found->nla_len != NLA_HDRLEN + size) return nullptr;
   return reinterpret_cast<unsigned char const*>(found) + NLA_HDRLEN;
}

}  // namespace

std::optional<Neighbour> readNeighbour(nlmsghdr const& message) {
   auto const* const header = headerOf<ndmsg>(message);
   if (header == nullptr || (header->ndm_family != AF_INET && header->ndm_family != AF_INET6)) return std::nullopt;
   if ((header->ndm_state & NUD_NOARP) != 0) return std::nullopt;
   Attributes const attributes(message, sizeof *header);
   auto const af = header->ndm_family == AF_INET ? af_t::ipv4 : af_t::ipv6;
   auto const* const address = bytesOf(attributes, NDA_DST, address_size(af));
   if (address == nullptr) return std::nullopt;
   Neighbour neighbour;
   neighbour.ifindex = header->ndm_ifindex;
   neighbour.address = ip_addr_t(af, address);
   // The kernel tells the MAC only while it sends to it.
   if (auto const* const mac = bytesOf(attributes, NDA_LLADDR, 6); mac != nullptr) neighbour.mac = eth_addr_t(mac);
   neighbour.managed = (attributes.get<std::uint32_t>(NDA_FLAGS_EXT).value_or(0) & NTF_EXT_MANAGED) != 0;
   neighbour.permanent = (header->ndm_state & NUD_PERMANENT) != 0;
   return neighbour;
}

Request listOfNeighbours() { return Request(RTM_GETNEIGH, NLM_F_DUMP, ndmsg{}); }

}  // namespace velm::netlink
