#pragma once

#include "proto/remote/nexthop_group.pb.h"

namespace velm {
class nexthop_group_entry_counter_t;
class nexthop_group_entry_t;
class nexthop_group_mpls_action_t;
class nexthop_group_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// Nexthop groups, from the label stack of an entry up to the group. On the way to the SDK, where a message has several
// faults, the client reads the one that its function lists first.

/// The stack keeps its order. Throws invalid_range_error for a label above 1048575, the last one of the stack first,
/// then invalid_argument_error for an unknown action.
velm::nexthop_group_mpls_action_t convert(velm::remote::NexthopGroupMplsAction const& message);
/// Throws invalid_argument_error for an unknown action.
velm::remote::NexthopGroupMplsAction convert(velm::nexthop_group_mpls_action_t const& action);

/// Throws invalid_argument_error for an address of a wrong number of bytes, then as its action does, then
/// invalid_argument_error for a text that names no interface: also where the entry names a child group.
velm::nexthop_group_entry_t convert(velm::remote::NexthopGroupEntry const& message);
/// Throws unsupported_error for an unknown address family, then as its action does.
velm::remote::NexthopGroupEntry convert(velm::nexthop_group_entry_t const& entry);

/// Throws as its entries do, in no particular order, for a map on the wire has none; then invalid_argument_error for
/// the first of these that is wrong: a destination address, the type of the GRE key, the encapsulation, the source
/// address, the source interface.
///
/// The TTL and the indexes are cut to 16 bits, not checked. Of indexes that are then alike one is kept, and it is open
/// which.
velm::nexthop_group_t convert(velm::remote::NexthopGroup const& message);
/// Throws invalid_argument_error for an unknown value of an enum and for a destination of an unknown address family,
/// unsupported_error for a source of one, and as its entries do.
velm::remote::NexthopGroup convert(velm::nexthop_group_t const& group);

/// Counters of one entry. They mean something only where `valid` is true: the group has that entry.
velm::remote::NexthopGroupCounter convert(velm::nexthop_group_entry_counter_t const& counter);

}  // namespace VelmSdkRpc::types
