#include "platform/linux/netlink/LinkRequests.h"

#include <fmt/format.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstddef>

#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

constexpr std::size_t longestAlias = 255;

ifinfomsg headerFor(int ifindex) {
   ifinfomsg header{};
   header.ifi_index = ifindex;
   return header;
}

// Newer kernels append to the counters, older ones know fewer: what both have is read one by one.
LinkCounters countersOf(nlattr const& counters) {
   auto const at = [&](std::size_t offset) {
      std::uint64_t value = 0;
      if (counters.nla_len >= NLA_HDRLEN + offset + sizeof value) {
         std::memcpy(&value, reinterpret_cast<char const*>(&counters) + NLA_HDRLEN + offset, sizeof value);
      }
      return value;
   };
   using Kernel = rtnl_link_stats64;
   return {.inPackets = at(offsetof(Kernel, rx_packets)),
           .inMulticasts = at(offsetof(Kernel, multicast)),
           .inOctets = at(offsetof(Kernel, rx_bytes)),
           .inErrors = at(offsetof(Kernel, rx_errors)),
           .inDiscards = at(offsetof(Kernel, rx_dropped)),
           .outPackets = at(offsetof(Kernel, tx_packets)),
           .outOctets = at(offsetof(Kernel, tx_bytes)),
           .outErrors = at(offsetof(Kernel, tx_errors)),
           .outDiscards = at(offsetof(Kernel, tx_dropped))};
}

}  // namespace

std::string nameOf(Machine const& machine, int ifindex) {
   Link const* const link = machine.links().find(ifindex);
   return link == nullptr ? fmt::format("link {}", ifindex) : link->name;
}

std::string LinkRequests::cannot(int ifindex, std::string const& what) const {
   return fmt::format("{} cannot {}", nameOf(machine_, ifindex), what);
}

void LinkRequests::adminUpIs(int ifindex, bool up) {
   auto header = headerFor(ifindex);
   header.ifi_flags = up ? IFF_UP : 0;
   header.ifi_change = IFF_UP;
   machine_.requests().change(Request(RTM_SETLINK, 0, header), cannot(ifindex, up ? "be set up" : "be set down"));
   machine_.readable();
}

void LinkRequests::aliasIs(int ifindex, std::string const& alias) {
   if (alias.size() > longestAlias) {
      throw invalid_range_error(fmt::format("{}: a description of {} bytes is longer than the kernel's {}",
                                            nameOf(machine_, ifindex), alias.size(), longestAlias));
   }
   if (alias.find('\0') != std::string::npos) {
      throw invalid_argument_error(fmt::format("{}: a description cannot hold a NUL", nameOf(machine_, ifindex)));
   }
   Request request(RTM_SETLINK, 0, headerFor(ifindex));
   request.putBytes(IFLA_IFALIAS, alias.data(), alias.size());
   machine_.requests().change(request, cannot(ifindex, "be described"));
   // Read first: no notice that lies there now knows the alias, and none that comes later does not.
   machine_.readable();
   if (Link const* const link = machine_.links().find(ifindex); link != nullptr) {
      auto described = *link;
      described.alias = alias;
      machine_.established(described);
   }
}

LinkCounters LinkRequests::counters(int ifindex) const {
   if_stats_msg header{};
   header.ifindex = static_cast<std::uint32_t>(ifindex);
   header.filter_mask = IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_64);
   LinkCounters counters;
   auto const outcome = machine_.requests().ask(Request(RTM_GETSTATS, 0, header), [&](nlmsghdr const& message) {
      nlattr const* const found = Attributes(message, sizeof header).find(IFLA_STATS_LINK_64);
      if (found != nullptr) counters = countersOf(*found);
   });
   if (outcome.failure != ENODEV) demand(outcome, cannot(ifindex, "tell its counters"));
   return counters;
}

}  // namespace velm::netlink
