#pragma once

#include <linux/netlink.h>

#include <array>
#include <cstddef>
#include <memory>

struct nl_sock;

namespace velm::netlink {

/// A connected netlink socket and the room that its datagrams are read into. It belongs to the network namespace of the
/// thread that made it, whatever that thread enters later. Throws velm::error if the kernel gives none. No locks.
class NetlinkSocket {
 public:
   explicit NetlinkSocket(int protocol);

   int fd() const;
   nl_sock* handle() const { return socket_.get(); }
   /// setsockopt of an int. Returns whether the kernel took it.
   bool option(int level, int name, int value);
   /// Reads one datagram of the kernel's and calls each(nlmsghdr const&) for its messages, which live until each()
   /// returns. Returns 0, or errno: EAGAIN for none in time, ENOBUFS for lost ones, EMSGSIZE for one that was cut.
   template <class Each>
   int receive(Each&& each) {
      std::size_t size = 0;
      if (int const failure = receive(size); failure != 0) return failure;
      auto const* message = reinterpret_cast<nlmsghdr const*>(room_->data());
      for (; NLMSG_OK(message, size); message = NLMSG_NEXT(message, size)) each(*message);
      return 0;
   }

 private:
   struct Free {
      void operator()(nl_sock* socket) const;
   };
   // Twice what the kernel fills at most when it lists things; a single message of a link without ports is 2 KB.
   using Room = std::array<std::byte, 65536>;

   int receive(std::size_t& size);

   std::unique_ptr<nl_sock, Free> const socket_;
   std::unique_ptr<Room> const room_;
};

}  // namespace velm::netlink
