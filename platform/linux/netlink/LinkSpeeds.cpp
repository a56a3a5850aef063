#include "platform/linux/netlink/LinkSpeeds.h"

#include <linux/ethtool_netlink.h>
#include <linux/genetlink.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>

#include <limits>

namespace velm::netlink {
namespace {

int familyOfEthtool() {
   NetlinkSocket const socket(NETLINK_GENERIC);
   return genl_ctrl_resolve(socket.handle(), ETHTOOL_GENL_NAME);
}

}  // namespace

LinkSpeeds::LinkSpeeds() : socket_(NETLINK_GENERIC), family_(familyOfEthtool()) {}

std::uint64_t LinkSpeeds::speed(int ifindex) {
   if (family_ < 0) return 0;
   genlmsghdr header{};
   header.cmd = ETHTOOL_MSG_LINKMODES_GET;
   header.version = ETHTOOL_GENL_VERSION;
   Request request(family_, 0, header);
   request.nest(ETHTOOL_A_LINKMODES_HEADER, [&] {
      request.put(ETHTOOL_A_HEADER_DEV_INDEX, static_cast<std::uint32_t>(ifindex));
      request.put<std::uint32_t>(ETHTOOL_A_HEADER_FLAGS, ETHTOOL_FLAG_COMPACT_BITSETS);
   });
   constexpr auto unknown = std::numeric_limits<std::uint32_t>::max();
   auto megabits = unknown;
   socket_.ask(request, [&](nlmsghdr const& message) {
      megabits = Attributes(message, sizeof header).get<std::uint32_t>(ETHTOOL_A_LINKMODES_SPEED).value_or(unknown);
   });
   return megabits == unknown ? 0 : megabits * std::uint64_t{1'000'000};
}

}  // namespace velm::netlink
