#include "platform/linux/netlink/NetlinkSocket.h"

#include <fmt/format.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/velm/errors.h"

namespace velm::netlink {

void NetlinkSocket::Free::operator()(nl_sock* socket) const { nl_socket_free(socket); }

NetlinkSocket::NetlinkSocket(int protocol) : socket_(nl_socket_alloc()), room_(std::make_unique<Room>()) {
   if (socket_ == nullptr) throw error("no memory for a netlink socket");
   if (int const result = nl_connect(socket_.get(), protocol); result < 0) {
      throw error(fmt::format("no netlink socket: {}", nl_geterror(result)));
   }
}

int NetlinkSocket::fd() const { return nl_socket_get_fd(socket_.get()); }

bool NetlinkSocket::option(int level, int name, int value) {
   return setsockopt(fd(), level, name, &value, sizeof value) == 0;
}

int NetlinkSocket::receive(std::size_t& size) {
   for (;;) {
      sockaddr_nl from{};
      iovec part{.iov_base = room_->data(), .iov_len = room_->size()};
      msghdr datagram{};
      datagram.msg_name = &from;
      datagram.msg_namelen = sizeof from;
      datagram.msg_iov = &part;
      datagram.msg_iovlen = 1;
      auto const received = recvmsg(fd(), &datagram, 0);
      if (received < 0 && errno == EINTR) continue;
      if (received < 0) return errno;
      if (from.nl_pid != 0) continue;  // some process's, not the kernel's
      if ((datagram.msg_flags & MSG_TRUNC) != 0) return EMSGSIZE;
      size = static_cast<std::size_t>(received);
      return 0;
   }
}

}  // namespace velm::netlink
