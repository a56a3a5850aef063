#include "convert/NexthopGroup.h"

#include <forward_list>
#include <map>

#include "convert/AddressFamily.h"
#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/nexthop_group.h"

namespace VelmSdkRpc::types {
namespace {

// Cut and not checked, unlike other narrow integers: clients rely on either as it is.
unsigned short low16(std::uint32_t value) { return static_cast<unsigned short>(value); }

}  // namespace

velm::nexthop_group_mpls_action_t convert(velm::remote::NexthopGroupMplsAction const& message) {
   // A forward_list grows at its head, so the labels come from the last to the first, and of two bad ones the client
   // reads the later. The action is looked at after all of them.
   std::forward_list<velm::mpls_label_t> labels;
   for (int at = message.label_stack_size(); at-- > 0;) labels.emplace_front(message.label_stack(at));
   velm::nexthop_group_mpls_action_t action(convert(message.action_type()));
   action.label_stack_is(labels);
   return action;
}

velm::remote::NexthopGroupMplsAction convert(velm::nexthop_group_mpls_action_t const& action) {
   velm::remote::NexthopGroupMplsAction message;
   message.set_action_type(convert(action.action_type()));
   for (auto const& label : action.label_stack()) message.add_label_stack(label.label());
   return message;
}

velm::nexthop_group_entry_t convert(velm::remote::NexthopGroupEntry const& message) {
   velm::nexthop_group_entry_t entry(ip_addr(message.nexthop()));
   entry.mpls_action_is(convert(message.mpls_action()));
   entry.intf_is(convert(message.intf()));
   entry.child_nexthop_group_is(message.child_nexthop_group());
   return entry;
}

velm::remote::NexthopGroupEntry convert(velm::nexthop_group_entry_t const& entry) {
   velm::remote::NexthopGroupEntry message;
   message.set_nexthop(entry.nexthop().addr(), afToSize(entry.nexthop()));
   message.set_child_nexthop_group(entry.child_nexthop_group());
   *message.mutable_mpls_action() = convert(entry.mpls_action());
   *message.mutable_intf() = convert(entry.intf());
   return message;
}

velm::nexthop_group_t convert(velm::remote::NexthopGroup const& message) {
   // Entries and destinations before the enums, so that of several faults a client reads that of an entry first. Two
   // indexes that become one when they are cut keep whichever entry comes first: the wire's maps have no order.
   std::map<unsigned short, velm::nexthop_group_entry_t> nexthops;
   for (auto const& [index, entry] : message.nexthops()) nexthops.emplace(low16(index), convert(entry));
   std::map<unsigned short, velm::ip_addr_t> destinations;
   for (auto const& [index, address] : message.destination_ips()) destinations.emplace(low16(index), ip_addr(address));
   auto const greKeyType = convert(message.gre_key_type());
   auto const type = convert(message.type());

   velm::nexthop_group_t group(message.name(), type, greKeyType);
   group.ttl_is(low16(message.ttl()));
   group.source_ip_is(ip_addr(message.source_ip()));
   group.source_intf_is(convert(message.source_intf()));
   group.autosize_is(message.autosize());
   group.nexthops_is(nexthops);
   group.destination_ips_is(destinations);
   group.counters_unshared_is(message.counters_unshared());
   group.hierarchical_fecs_enabled_is(message.hierarchical_fecs_enabled());
   return group;
}

velm::remote::NexthopGroup convert(velm::nexthop_group_t const& group) {
   velm::remote::NexthopGroup message;
   message.set_name(group.name());
   message.set_type(convert(group.type()));
   message.set_gre_key_type(convert(group.gre_key_type()));
   message.set_ttl(group.ttl());
   message.set_source_ip(group.source_ip().addr(), afToSize(group.source_ip()));
   *message.mutable_source_intf() = convert(group.source_intf());
   message.set_autosize(group.autosize());
   for (auto const& [index, entry] : group.nexthops()) (*message.mutable_nexthops())[index] = convert(entry);
   for (auto const& [index, address] : group.destination_ips()) {
      (*message.mutable_destination_ips())[index] = ip_addr_bytes(address);
   }
   message.set_counters_unshared(group.counters_unshared());
   message.set_hierarchical_fecs_enabled(group.hierarchical_fecs_enabled());
   return message;
}

velm::remote::NexthopGroupCounter convert(velm::nexthop_group_entry_counter_t const& counter) {
   velm::remote::NexthopGroupCounter message;
   message.set_packets(counter.packets());
   message.set_bytes(counter.bytes());
   message.set_valid(counter.valid());
   return message;
}

}  // namespace VelmSdkRpc::types
