#pragma once

#include "proto/remote/nexthop_group.pb.h"

namespace velm {
class nexthop_group_entry_counter_t;
class nexthop_group_entry_t;
class nexthop_group_mpls_action_t;
class nexthop_group_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// To the SDK: of several faults of one message the first in the order told here is the one reported.

/// Throws invalid_range_error for what is no label, the last of the stack first, then invalid_argument_error for an
/// unknown action.
velm::nexthop_group_mpls_action_t convert(velm::remote::NexthopGroupMplsAction const& message);
/// Throws invalid_argument_error for an unknown action.
velm::remote::NexthopGroupMplsAction convert(velm::nexthop_group_mpls_action_t const& action);

/// Throws invalid_argument_error for what is no address, then as its action does, then invalid_argument_error for what
/// is no interface name; all of them whether the entry names a child group or not.
velm::nexthop_group_entry_t convert(velm::remote::NexthopGroupEntry const& message);
/// Throws unsupported_error for an unknown address family, else as its action does.
velm::remote::NexthopGroupEntry convert(velm::nexthop_group_entry_t const& entry);

/// Throws as its entries do, in no particular order; then invalid_argument_error for what is no destination address,
/// then for an unknown type of GRE key, an unknown encapsulation, and what is no source address or interface name.
///
/// The TTL and the indexes are cut to 16 bits. Of indexes that are then alike one is kept, and it is open which.
velm::nexthop_group_t convert(velm::remote::NexthopGroup const& message);
/// Throws invalid_argument_error for an enum's unknown number and for a destination of an unknown address family,
/// unsupported_error for a source of one; else as its entries do.
velm::remote::NexthopGroup convert(velm::nexthop_group_t const& group);

velm::remote::NexthopGroupCounter convert(velm::nexthop_group_entry_counter_t const& counter);

}  // namespace VelmSdkRpc::types
