#include "platform/linux/IntfCarriers.h"

#include <fmt/format.h>

#include <string_view>

#include "platform/linux/netlink/AddressRequests.h"
#include "platform/linux/netlink/LinkRequests.h"
#include "platform/switch/IntfCounterMgr.h"
#include "platform/switch/SetAttribute.h"
#include "platform/switch/Timestamp.h"
#include "platform/velm/errors.h"

namespace velm::machine {

using embedded::Intf;
using embedded::IpIntf;
using embedded::Room;

namespace {

netlink::Link const& demandLink(Ports* ports, intf_id_t intf) {
   auto const* const link = ports == nullptr ? nullptr : ports->link(intf);
   if (link == nullptr) {
      throw unsupported_error(fmt::format("the machine has no device for interface {}", intf.to_string()));
   }
   return *link;
}

}  // namespace

Room IntfCarrier::prepare(intf_id_t const& intf, Intf const* /*now*/, Intf const& next) {
   auto* const ports = ports_();
   auto const link = demandLink(ports, intf);
   netlink::LinkRequests requests(ports->machine());
   if (next.description != link.alias) requests.aliasIs(link.ifindex, next.description);
   if (next.adminEnabled != link.adminUp) requests.adminUpIs(link.ifindex, next.adminEnabled);
   return {};
}

Room IpIntfCarrier::prepare(intf_id_t const& intf, IpIntf const* /*now*/, IpIntf const& next) {
   auto* const ports = ports_();
   auto const link = demandLink(ports, intf);
   netlink::AddressRequests requests(ports->machine());
   auto const present = ports->machine().addresses().of(link.ifindex);
   for (auto const& address : next.addrs) requests.add(link.ifindex, address);
   for (auto const& address : present) {
      if (!address.automatic && !next.addrs.contains(address.address)) requests.del(link.ifindex, address.address);
   }
   return {};
}

embedded::IntfTraffic trafficOf(Ports& ports, netlink::Link const& link) {
   auto const counted = netlink::LinkRequests(ports.machine()).counters(link.ifindex);
   embedded::IntfTraffic traffic;
   auto const set = [&](std::string_view name, auto value) { embedded::setAttribute(traffic.counters, name, value); };
   set("in_ucast_pkts", counted.inPackets - counted.inMulticasts);
   set("in_multicast_pkts", counted.inMulticasts);
   set("in_octets", counted.inOctets);
   set("in_errors", counted.inErrors);
   set("in_discards", counted.inDiscards);
   set("out_ucast_pkts", counted.outPackets);
   set("out_octets", counted.outOctets);
   set("out_errors", counted.outErrors);
   set("out_discards", counted.outDiscards);
   set("sample_time", embedded::timestamp());
   return traffic;
}

}  // namespace velm::machine
