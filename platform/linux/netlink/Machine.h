#pragma once

#include <cstddef>
#include <vector>

#include "platform/linux/netlink/Address.h"
#include "platform/linux/netlink/Link.h"
#include "platform/linux/netlink/Mirror.h"
#include "platform/linux/netlink/Neighbour.h"
#include "platform/linux/netlink/NoticeSocket.h"
#include "platform/linux/netlink/RequestSocket.h"

namespace velm::netlink {

/// The machine as the kernel tells it: all links, their addresses that are usable, and their neighbours, of the network
/// namespace of the thread that made this. Everything here is called by a thread that holds the SDK lock; the observers
/// are told by that thread, inside readable() or a request that changes something.
///
/// At no time two links that are told bear one name. A link is told before its addresses and neighbours, and goes after
/// them. Two things bend that: under another name a link is told as gone and come while its addresses and neighbours
/// stay, so whoever hears of a link reads of() of both; and an address or neighbour of a link that is not told yet may
/// come while everything is listed.
class Machine {
 public:
   /// Holds about 10,000 notices of links, 20,000 of addresses or neighbours. The memory is used only while they wait.
   static constexpr std::size_t usualBuffer = 32 << 20;

   /// Subscribes; tells nothing yet. Throws velm::error if the kernel has no rtnetlink for us.
   Machine(Observer<Link>& links, Observer<Address>& addresses, Observer<Neighbour>& neighbours,
           std::size_t noticeBuffer = usualBuffer);

   /// Readable for poll when readable() has something to do; at first call it without asking.
   int fd() const { return notices_.fd(); }
   /// Tells what has changed since the last call, the first time all that there is: everything whose notice lies there
   /// when it is called. Inside an observer it does nothing. When notices were lost it lists everything anew and tells
   /// what differs; throws velm::error if the kernel cannot be asked, and lists at the next call.
   void readable();

   Mirror<Link> const& links() const { return links_; }
   Mirror<Address> const& addresses() const { return addresses_; }
   Mirror<Neighbour> const& neighbours() const { return neighbours_; }
   /// How often everything was listed.
   std::size_t listings() const { return listings_; }
   RequestSocket& requests() { return requests_; }

   /// Tells what a request has established, where the kernel's notice comes late or never; nothing if it is known.
   /// Inside an observer it does nothing.
   void established(Link const& link);
   void established(Address const& address);

 private:
   template <class Tell>
   void tell(Tell&& tell);
   void notice(nlmsghdr const& message);
   void linkNotice(Link const& link);
   void linkGone(int ifindex);
   void addressNotice(AddressState const& state);
   void listAll();

   RequestSocket requests_;
   NoticeSocket notices_;
   Mirror<Link> links_;
   Mirror<Address> addresses_;
   Mirror<Neighbour> neighbours_;
   bool listed_ = false;   // and nothing lost since
   bool settled_ = false;  // no notice is left from before the list
   bool telling_ = false;
   std::size_t listings_ = 0;
};

}  // namespace velm::netlink
