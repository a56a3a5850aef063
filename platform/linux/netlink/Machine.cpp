#include "platform/linux/netlink/Machine.h"

#include <absl/cleanup/cleanup.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>

namespace velm::netlink {
namespace {

constexpr std::array groups{int{RTNLGRP_LINK}, int{RTNLGRP_IPV4_IFADDR}, int{RTNLGRP_IPV6_IFADDR}, int{RTNLGRP_NEIGH}};
constexpr int mostReads = 100'000;  // of one call: more than the usual buffer holds, yet not for ever

template <class Value>
auto byKey(std::vector<Value> const& values) {
   typename Mirror<Value>::Rows rows;
   for (auto const& value : values) rows.insert_or_assign(value.key(), value);
   return rows;
}

/// Deletes what is not in the list, or is something else there.
template <class Value>
void delMissing(Mirror<Value>& mirror, typename Mirror<Value>::Rows const& list) {
   mirror.delIf([&](Value const& held) {
      auto const found = list.find(held.key());
      return found == list.end() || !found->second.continues(held);
   });
}

template <class Value>
void setAll(Mirror<Value>& mirror, typename Mirror<Value>::Rows const& list) {
   for (auto const& [key, value] : list) mirror.set(value);
}

}  // namespace

Machine::Machine(Observer<Link>& links, Observer<Address>& addresses, Observer<Neighbour>& neighbours,
                 std::size_t noticeBuffer)
   : requests_(NETLINK_ROUTE),
     notices_(groups, noticeBuffer),
     links_(links),
     addresses_(addresses),
     neighbours_(neighbours) {}

template <class Tell>
void Machine::tell(Tell&& tell) {
   if (telling_) return;
   telling_ = true;
   absl::Cleanup const done = [this] { telling_ = false; };
   tell();
}

void Machine::established(Link const& link) {
   tell([&] { links_.set(link); });
}

void Machine::established(Address const& address) {
   tell([&] { addresses_.set(address); });
}

void Machine::readable() {
   tell([this] {
      for (int reads = 0; reads < mostReads; ++reads) {
         if (!listed_) listAll();
         auto const read = notices_.read([this](nlmsghdr const& message) { notice(message); });
         settled_ = settled_ || read == NoticeSocket::Read::none;
         if (read == NoticeSocket::Read::none) return;
         if (read == NoticeSocket::Read::lost) listed_ = false;
      }
   });
}

void Machine::notice(nlmsghdr const& message) {
   switch (message.nlmsg_type) {
      case RTM_NEWLINK:
         if (auto const link = readLink(message)) linkNotice(*link);
         break;
      case RTM_DELLINK:
         if (auto const link = readLink(message)) linkGone(link->ifindex);
         break;
      case RTM_NEWADDR:
         if (auto const state = readAddress(message)) addressNotice(*state);
         break;
      case RTM_DELADDR:
         if (auto const state = readAddress(message)) addresses_.del(state->address.key());
         break;
      case RTM_NEWNEIGH:
         if (auto const neighbour = readNeighbour(message)) neighbours_.set(*neighbour);
         break;
      case RTM_DELNEIGH:
         if (auto const neighbour = readNeighbour(message)) neighbours_.del(neighbour->key());
         break;
      default: break;
   }
}

void Machine::linkNotice(Link const& link) {
   // Notices from before the list may tell of a name that another link has taken since: that one's notice comes, too.
   if (!settled_) {
      auto const namesake = std::ranges::find_if(
         links_.rows(), [&](auto const& row) { return row.second.name == link.name && row.first != link.ifindex; });
      if (namesake != links_.rows().end()) links_.del(namesake->first);
   }
   links_.set(link);
}

void Machine::linkGone(int ifindex) {
   neighbours_.delOf(ifindex);
   addresses_.delOf(ifindex);
   links_.del(ifindex);
}

// An address that was usable stays while the kernel looks for it anew, as it does when its link comes back up.
void Machine::addressNotice(AddressState const& state) {
   if (state.duplicate) return addresses_.del(state.address.key());
   if (!state.tentative) addresses_.set(state.address);
}

// The lists are read by another socket than the notices. A notice of what changed before its list was read may come
// behind the list: then the older state is told once more, but never as the last, for the change that the list showed
// has its notice, too.
void Machine::listAll() {
   notices_.drain();
   auto const links = byKey(requests_.list<Link>(listOfLinks(), readLink));
   auto states = requests_.list<AddressState>(listOfAddresses(), readAddress);
   auto const neighbours = byKey(requests_.list<Neighbour>(listOfNeighbours(), readNeighbour));
   listed_ = true;
   settled_ = false;
   ++listings_;
   std::vector<Address> usable;
   for (auto const& state : states) {
      bool const known = addresses_.find(state.address.key()) != nullptr;
      if (!state.duplicate && (!state.tentative || known)) usable.push_back(state.address);
   }
   auto const addresses = byKey(usable);
   // Whatever went goes first, so that names are free before they are taken.
   delMissing(neighbours_, neighbours);
   delMissing(addresses_, addresses);
   delMissing(links_, links);
   setAll(links_, links);
   setAll(addresses_, addresses);
   setAll(neighbours_, neighbours);
}

}  // namespace velm::netlink
