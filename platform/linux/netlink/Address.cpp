#include "platform/linux/netlink/Address.h"

#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstdint>

namespace velm::netlink {
namespace {

// IFA_ADDRESS is the other end's where IFA_LOCAL is there, too.
ip_addr_t addressOf(ifaddrmsg const& header, Attributes const& attributes) {
   auto const af = header.ifa_family == AF_INET ? af_t::ipv4 : af_t::ipv6;
   nlattr const* found = attributes.find(IFA_LOCAL);
   if (found == nullptr) found = attributes.find(IFA_ADDRESS);
   if (found == nullptr || found->nla_len != NLA_HDRLEN + address_size(af)) return {};
   return {af, reinterpret_cast<unsigned char const*>(found) + NLA_HDRLEN};
}

}  // namespace

std::optional<AddressState> readAddress(nlmsghdr const& message) {
   auto const* const header = headerOf<ifaddrmsg>(message);
   if (header == nullptr || (header->ifa_family != AF_INET && header->ifa_family != AF_INET6)) return std::nullopt;
   Attributes const attributes(message, sizeof *header);
   ip_addr_t const address = addressOf(*header, attributes);
   if (address.af() == af_t::none) return std::nullopt;
   auto const flags = attributes.get<std::uint32_t>(IFA_FLAGS).value_or(header->ifa_flags);
   AddressState state;
   state.address.ifindex = static_cast<int>(header->ifa_index);
   state.address.address = ip_addr_mask_t(address, header->ifa_prefixlen);
   auto const maker = attributes.get<std::uint8_t>(IFA_PROTO).value_or(IFAPROT_UNSPEC);
   state.address.automatic = maker >= IFAPROT_KERNEL_LO && maker <= IFAPROT_KERNEL_LL;
   state.duplicate = (flags & IFA_F_DADFAILED) != 0;
   state.tentative = (flags & IFA_F_TENTATIVE) != 0 && (flags & IFA_F_OPTIMISTIC) == 0;
   return state;
}

Request listOfAddresses(int ifindex) {
   ifaddrmsg header{};
   header.ifa_index = static_cast<std::uint32_t>(ifindex);
   return Request(RTM_GETADDR, NLM_F_DUMP, header);
}

}  // namespace velm::netlink
