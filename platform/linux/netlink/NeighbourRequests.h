#pragma once

#include <string>

#include "platform/linux/netlink/Machine.h"

namespace velm::netlink {

/// Has the kernel resolve neighbours and keep them so. Any thread that holds the SDK lock. Tells nothing by itself.
///
/// No notice tells that an entry was made; the first one tells that it is resolved, or that nobody has answered, after
/// which the kernel goes on asking, every five seconds. The kernel takes the entries of a link that loses its carrier,
/// is set down or loses its last IPv4 address, each told as gone: install again what is told as gone while the link is
/// operational, and all of a link that is told to be operational. For IPv6 the kernel asks only from a link-local
/// address of the link, once that is usable.
class NeighbourRequests {
 public:
   explicit NeighbourRequests(Machine& machine) : machine_(machine) {}

   /// Makes the neighbour a managed one; one that is so already or was set by hand stays as it is, for managing would
   /// undo what was set. Throws configuration_error or velm::error if the kernel refuses; then nothing has changed.
   void install(int ifindex, ip_addr_t const& address);
   /// Deletes the neighbour, which the kernel makes again when it needs it; one that was set by hand stays. One that
   /// does not exist, or whose link does not, is no error.
   void remove(int ifindex, ip_addr_t const& address);

 private:
   bool setByHand(int ifindex, ip_addr_t const& address) const;
   std::string cannot(int ifindex, char const* verb, ip_addr_t const& address) const;

   Machine& machine_;
};

}  // namespace velm::netlink
