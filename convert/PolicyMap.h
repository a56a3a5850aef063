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

// Policy maps, from an action up to the map, and what the hardware made of them. On the way to the SDK, where a message
// has several faults, the client reads the one that its function lists first.

/// Throws invalid_argument_error for an unknown feature, on the way back, too.
velm::policy_map_key_t convert(velm::remote::PolicyMapKey const& message);
velm::remote::PolicyMapKey convert(velm::policy_map_key_t const& key);

/// All fields are read and checked, also those that mean nothing to an action of its type; a repeated nexthop counts
/// once. Throws invalid_argument_error for the first of these that is wrong: the type, a nexthop's number of bytes, a
/// DSCP above 255, a traffic class above 255.
velm::policy_map_action_t convert(velm::remote::PolicyMapAction const& message);
/// The nexthops come in no particular order. Throws invalid_argument_error for an unknown type or address family.
velm::remote::PolicyMapAction convert(velm::policy_map_action_t const& action);

/// A repeated action counts once. Throws for the first of these that is wrong:
///   1. the key of its class map;
///   2. its type, which has no default: a rule without one is refused;
///   3. its raw rule, also where the type makes the class map count. A raw rule has to have an IP type, so that a rule
///      without any raw rule is refused;
///   4. its actions, in order.
velm::policy_map_rule_t convert(velm::remote::PolicyMapRule const& message);
/// The actions are in ascending order. Throws invalid_argument_error for an unknown value of an enum, and as the raw
/// rule and the actions do.
velm::remote::PolicyMapRule convert(velm::policy_map_rule_t const& rule);

/// The whole map: the rules by their sequence numbers. Throws as its key does, then as its rules do, in no particular
/// order, for a map on the wire has none.
velm::policy_map_t convert(velm::remote::PolicyMap const& message);
velm::remote::PolicyMap convert(velm::policy_map_t const& policyMap);

/// An interface and a direction in which a policy map is applied there. Throws invalid_argument_error for an unknown
/// direction.
velm::remote::PolicyMapHwStatusKey convert(velm::policy_map_hw_status_key_t const& key);

/// One status for each interface and direction where the policy map is applied, in the order of these. Throws
/// invalid_argument_error for an unknown direction or status.
velm::remote::PolicyMapHwStatuses convert(velm::policy_map_hw_statuses_t const& statuses);

}  // namespace VelmSdkRpc::types
