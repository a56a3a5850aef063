#include "platform/linux/netlink/NeighbourRequests.h"

#include <fmt/format.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>

#include "platform/linux/netlink/LinkRequests.h"

namespace velm::netlink {
namespace {

Request requestFor(int type, int flags, int ifindex, ip_addr_t const& address, std::uint8_t neighbourFlags) {
   ndmsg header{};
   header.ndm_family = address.af() == af_t::ipv4 ? AF_INET : AF_INET6;
   header.ndm_ifindex = ifindex;
   header.ndm_flags = neighbourFlags;
   Request request(type, flags, header);
   request.putBytes(NDA_DST, address.addr(), address_size(address.af()));
   return request;
}

}  // namespace

void NeighbourRequests::install(int ifindex, ip_addr_t const& address) {
   if (setByHand(ifindex, address)) return;
   auto request = requestFor(RTM_NEWNEIGH, NLM_F_CREATE | NLM_F_REPLACE, ifindex, address, NTF_EXT_LEARNED);
   request.put<std::uint32_t>(NDA_FLAGS_EXT, NTF_EXT_MANAGED);
   machine_.requests().change(request, cannot(ifindex, "follow", address));
}

void NeighbourRequests::remove(int ifindex, ip_addr_t const& address) {
   if (setByHand(ifindex, address)) return;
   auto const outcome = machine_.requests().ask(requestFor(RTM_DELNEIGH, 0, ifindex, address, 0));
   if (outcome.failure != ENOENT && outcome.failure != ENODEV) demand(outcome, cannot(ifindex, "forget", address));
}

bool NeighbourRequests::setByHand(int ifindex, ip_addr_t const& address) const {
   Neighbour const* const known = machine_.neighbours().find({ifindex, address});
   return known != nullptr && known->permanent;
}

std::string NeighbourRequests::cannot(int ifindex, char const* verb, ip_addr_t const& address) const {
   return fmt::format("{} cannot {} the neighbour {}", nameOf(machine_, ifindex), verb, address.to_string());
}

}  // namespace velm::netlink
