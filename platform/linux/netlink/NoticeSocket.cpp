#include "platform/linux/netlink/NoticeSocket.h"

#include <fmt/format.h>
#include <linux/netlink.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>

#include "platform/velm/errors.h"

namespace velm::netlink {

NoticeSocket::NoticeSocket(std::span<int const> groups, std::size_t bytes) : socket_(NETLINK_ROUTE) {
   // The kernel doubles what it is given.
   auto const half = static_cast<int>(std::min<std::size_t>(bytes / 2, std::numeric_limits<int>::max()));
   if (!socket_.option(SOL_SOCKET, SO_RCVBUFFORCE, half)) socket_.option(SOL_SOCKET, SO_RCVBUF, half);
   int result = nl_socket_set_nonblocking(socket_.handle());
   for (int const group : groups) result = result < 0 ? result : nl_socket_add_membership(socket_.handle(), group);
   if (result < 0) throw error(fmt::format("the kernel's notices cannot be had: {}", nl_geterror(result)));
}

void NoticeSocket::drain() {
   while (read([](nlmsghdr const&) {}) != Read::none) continue;
}

NoticeSocket::Read NoticeSocket::resultOf(int failure) {
   switch (failure) {
      case 0: return Read::some;
      case EAGAIN: return Read::none;
      case ENOBUFS:
      case EMSGSIZE: return Read::lost;
      default: throw error(fmt::format("the kernel's notices cannot be read: {}", strerrordesc_np(failure)));
   }
}

}  // namespace velm::netlink
