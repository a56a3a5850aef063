#pragma once

#include <string>

#include "platform/linux/netlink/Machine.h"

namespace velm::netlink {

/// Gives addresses to links and takes them away. Any thread that holds the SDK lock. When an operation returns, the
/// change is done and told, with all that was to be told before; inside an observer it is told later. Throws
/// configuration_error if the kernel refuses, as it does for a link that does not exist, velm::error if the machine is
/// not able to, as without rights; then nothing has changed.
///
/// The kernel takes the IPv6 addresses of a link that is set down, or whose IPv6 is switched off, unless its sysctl
/// keep_addr_on_down is set: they are told as gone, and whoever wants them adds them again.
class AddressRequests {
 public:
   explicit AddressRequests(Machine& machine) : machine_(machine) {}

   /// Adds the address, which can be used at once: an IPv6 one is not looked for among the neighbours first. One that
   /// the link has is no error; the kernel refuses an IPv6 one that it has with another length.
   void add(int ifindex, ip_addr_mask_t const& address);
   /// Deletes this address alone: other addresses of its IPv4 network stay, for which the link's sysctl
   /// promote_secondaries is set where there are any. One that the link does not have is no error.
   void del(int ifindex, ip_addr_mask_t const& address);

 private:
   std::string cannot(int ifindex, char const* verb, ip_addr_mask_t const& address) const;
   bool has(int ifindex, ip_addr_mask_t const& address);
   bool hasOthersOf(int ifindex, ip_addr_mask_t const& address) const;
   void keepOthers(int ifindex);

   Machine& machine_;
};

}  // namespace velm::netlink
