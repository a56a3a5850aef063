#pragma once

#include "proto/remote/policy_map.pb.h"

namespace velm {
class policy_map_action_t;
class policy_map_hw_status_key_t;
class policy_map_hw_statuses_t;
class policy_map_key_t;
class policy_map_rule_t;
class policy_map_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// To the SDK: of several faults of one message the first in the order told here is the one reported.

/// Both ways: throws invalid_argument_error for an unknown feature.
velm::policy_map_key_t convert(velm::remote::PolicyMapKey const& message);
velm::remote::PolicyMapKey convert(velm::policy_map_key_t const& key);

/// All fields are read, whichever the type makes count; a repeated nexthop counts once. Throws invalid_argument_error
/// for an unknown type, for what is no address, and for a DSCP, then a traffic class, above 255.
velm::policy_map_action_t convert(velm::remote::PolicyMapAction const& message);
/// The nexthops come in no particular order. Throws invalid_argument_error for an unknown type or address family.
velm::remote::PolicyMapAction convert(velm::policy_map_action_t const& action);

/// A repeated action counts once. Throws as the key of its class map does, then invalid_argument_error for an unknown
/// rule type, which an absent one is, too; then as its raw rule does, whatever the rule type: one that is absent has no
/// IP type and is refused; then as its actions do.
velm::policy_map_rule_t convert(velm::remote::PolicyMapRule const& message);
/// The actions in ascending order. Throws invalid_argument_error for an enum's unknown number, else as the raw rule and
/// the actions do.
velm::remote::PolicyMapRule convert(velm::policy_map_rule_t const& rule);

/// Throws as its key does, then as its rules do, in no particular order.
velm::policy_map_t convert(velm::remote::PolicyMap const& message);
velm::remote::PolicyMap convert(velm::policy_map_t const& policyMap);

/// Throws invalid_argument_error for an unknown direction.
velm::remote::PolicyMapHwStatusKey convert(velm::policy_map_hw_status_key_t const& key);

/// In the order of the keys. Throws invalid_argument_error for an unknown status, too.
velm::remote::PolicyMapHwStatuses convert(velm::policy_map_hw_statuses_t const& statuses);

}  // namespace VelmSdkRpc::types
