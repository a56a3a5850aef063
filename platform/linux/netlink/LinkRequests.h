#pragma once

#include <cstdint>
#include <string>

#include "platform/linux/netlink/Machine.h"

namespace velm::netlink {

/// What the kernel has counted on a link since it exists. It does not tell broadcasts from the other packets, nor of
/// what is sent multicasts from unicasts.
struct LinkCounters {
   std::uint64_t inPackets = 0;  // multicasts among them
   std::uint64_t inMulticasts = 0;
   std::uint64_t inOctets = 0;
   std::uint64_t inErrors = 0;
   std::uint64_t inDiscards = 0;
   std::uint64_t outPackets = 0;
   std::uint64_t outOctets = 0;
   std::uint64_t outErrors = 0;
   std::uint64_t outDiscards = 0;
};

/// The name of the link for texts: "Ethernet1", or "link 7" for one that is not known.
std::string nameOf(Machine const& machine, int ifindex);

/// Changes links and reads what notices do not tell. Any thread that holds the SDK lock. When the operation returns, a
/// change is done and told, with all that was to be told before; inside an observer it is told later. What follows of
/// it, a carrier that comes, is told when it is so. Setting what is so already is no error. Throws configuration_error
/// if the kernel refuses, as it does for a link that does not exist, velm::error if the machine is not able to, as
/// without rights; then nothing has changed.
class LinkRequests {
 public:
   explicit LinkRequests(Machine& machine) : machine_(machine) {}

   void adminUpIs(int ifindex, bool up);
   /// What others write into it while the link is down is told with the next change of the link only: the kernel has no
   /// notice of that. Throws invalid_range_error for one of more than 255 bytes, invalid_argument_error for one with a
   /// NUL.
   void aliasIs(int ifindex, std::string const& alias);
   /// All 0 for a link that does not exist.
   LinkCounters counters(int ifindex) const;

 private:
   std::string cannot(int ifindex, std::string const& what) const;

   Machine& machine_;
};

}  // namespace velm::netlink
