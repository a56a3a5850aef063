#include "platform/linux/netlink/AddressRequests.h"

#include <fmt/format.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/ip.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "platform/linux/netlink/LinkRequests.h"
#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

Request requestFor(int type, int flags, int ifindex, ip_addr_mask_t const& address) {
   check_length(address);
   ifaddrmsg header{};
   header.ifa_family = address.af() == af_t::ipv4 ? AF_INET : AF_INET6;
   header.ifa_prefixlen = address.mask_length();
   header.ifa_index = static_cast<std::uint32_t>(ifindex);
   Request request(type, flags, header);
   auto const size = address_size(address.af());
   request.putBytes(IFA_LOCAL, address.addr().addr(), size);
   request.putBytes(IFA_ADDRESS, address.addr().addr(), size);
   return request;
}

}  // namespace

void AddressRequests::add(int ifindex, ip_addr_mask_t const& address) {
   auto request = requestFor(RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL, ifindex, address);
   if (address.af() == af_t::ipv6) request.put<std::uint32_t>(IFA_FLAGS, IFA_F_NODAD);
   auto const outcome = machine_.requests().ask(request);
   // To the kernel an IPv6 address with another length is the same address.
   bool const known = outcome.failure == EEXIST && has(ifindex, address);
   if (!known) {
      demand(outcome, cannot(ifindex, "take", address));
      // The notice of an IPv6 address comes a moment later. Told before what lies there is read: should the address be
      // gone already, that is among it.
      machine_.established(Address{.ifindex = ifindex, .address = address});
   }
   machine_.readable();
}

void AddressRequests::del(int ifindex, ip_addr_mask_t const& address) {
   machine_.readable();
   if (address.af() == af_t::ipv4 && hasOthersOf(ifindex, address)) keepOthers(ifindex);
   auto const outcome = machine_.requests().ask(requestFor(RTM_DELADDR, 0, ifindex, address));
   if (outcome.failure != EADDRNOTAVAIL) demand(outcome, cannot(ifindex, "lose", address));
   machine_.readable();
}

bool AddressRequests::has(int ifindex, ip_addr_mask_t const& address) {
   auto const held = machine_.requests().list<AddressState>(listOfAddresses(ifindex), readAddress);
   return std::ranges::any_of(
      held, [&](AddressState const& state) { return state.address.key() == std::pair(ifindex, address); });
}

bool AddressRequests::hasOthersOf(int ifindex, ip_addr_mask_t const& address) const {
   auto const network = [](ip_addr_mask_t const& a) { return ip_prefix_t(a.addr(), a.mask_length()); };
   return std::ranges::any_of(machine_.addresses().of(ifindex), [&](Address const& other) {
      return other.address != address && network(other.address) == network(address);
   });
}

// Not for each deletion, for the kernel tells all of its parts that the link has changed.
void AddressRequests::keepOthers(int ifindex) {
   ifinfomsg header{};
   header.ifi_index = ifindex;
   Request request(RTM_SETLINK, 0, header);
   request.nest(IFLA_AF_SPEC, [&] {
      request.nest(AF_INET, [&] {
         request.nest(IFLA_INET_CONF, [&] { request.put<std::uint32_t>(IPV4_DEVCONF_PROMOTE_SECONDARIES, 1); });
      });
   });
   machine_.requests().change(request, fmt::format("{} cannot lose one address alone", nameOf(machine_, ifindex)));
}

std::string AddressRequests::cannot(int ifindex, char const* verb, ip_addr_mask_t const& address) const {
   return fmt::format("{} cannot {} the address {}", nameOf(machine_, ifindex), verb, address.to_string());
}

}  // namespace velm::netlink
