#pragma once

#include <cstdint>

#include "platform/linux/netlink/RequestSocket.h"

namespace velm::netlink {

/// How fast the links of the maker's network namespace are, by ethtool's netlink. No notice tells of a new speed: read
/// it when the carrier comes. Any thread that holds the SDK lock.
class LinkSpeeds {
 public:
   LinkSpeeds();

   /// Bits per second; 0 if unknown, as without a carrier, for links that have no speed and for none. Throws
   /// velm::error if the kernel does not answer.
   std::uint64_t speed(int ifindex);

 private:
   RequestSocket socket_;
   int family_;  // ethtool's number among the families of generic netlink; negative in a kernel without it
};

}  // namespace velm::netlink
