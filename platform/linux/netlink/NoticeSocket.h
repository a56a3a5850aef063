#pragma once

#include <cstddef>
#include <span>

#include "platform/linux/netlink/NetlinkSocket.h"

namespace velm::netlink {

/// The socket that the kernel's notices of NETLINK_ROUTE come to, in the order of the changes. Never waits. No locks.
class NoticeSocket {
 public:
   enum class Read { some, none, lost };

   /// Subscribes to the groups (RTNLGRP_...). The kernel keeps notices of up to the given bytes, by its own count,
   /// which is about twice their length; without CAP_NET_ADMIN no more than net.core.rmem_max says.
   NoticeSocket(std::span<int const> groups, std::size_t bytes);

   /// Readable for poll when there are notices, or when some were lost.
   int fd() const { return socket_.fd(); }
   /// Calls each(nlmsghdr const&) for the notices of one change, or more. After `lost` call drain(), then list all
   /// anew.
   template <class Each>
   Read read(Each&& each) {
      return resultOf(socket_.receive(std::forward<Each>(each)));
   }
   /// Drops all that is there. Only an empty socket takes notices again once one was lost, and drops them without a
   /// word until then: so what is listed behind this call, and the notices behind it, lack nothing.
   void drain();

 private:
   static Read resultOf(int failure);

   NetlinkSocket socket_;
};

}  // namespace velm::netlink
