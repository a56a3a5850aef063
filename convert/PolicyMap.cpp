#include "convert/PolicyMap.h"

#include <map>
#include <set>
#include <unordered_set>

#include "convert/Acl.h"
#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/policy_map.h"

// From the inside out: a map is made of rules, a rule of a raw rule and actions. Every part is converted and checked
// even where the rule's type makes it count for nothing. The SDK's values would take less, but clients have always been
// refused for such parts, and count on what they can read of it.
namespace VelmSdkRpc::types {

velm::policy_map_key_t convert(velm::remote::PolicyMapKey const& message) {
   velm::policy_map_key_t key;
   key.name_is(message.name());
   key.feature_is(convert(message.feature()));
   return key;
}

velm::remote::PolicyMapKey convert(velm::policy_map_key_t const& key) {
   velm::remote::PolicyMapKey message;
   message.set_name(key.name());
   message.set_feature(convert(key.feature()));
   return message;
}

velm::policy_map_action_t convert(velm::remote::PolicyMapAction const& message) {
   velm::policy_map_action_t action;
   action.action_type_is(convert(message.action_type()));
   action.nexthop_group_name_is(message.nexthop_group_name());
   std::unordered_set<velm::ip_addr_t> nexthops;  // the SDK's kind: repeats count once, the order is lost
   for (auto const& nexthop : message.nexthops()) nexthops.insert(ip_addr(nexthop));
   action.nexthops_is(nexthops);
   action.vrf_is(message.vrf());
   action.dscp_is(boundaryCheck<unsigned char>(message.dscp(), "dscp {} is out of range"));
   action.traffic_class_is(boundaryCheck<unsigned char>(message.traffic_class(), "traffic class {} is out of range"));
   return action;
}

velm::remote::PolicyMapAction convert(velm::policy_map_action_t const& action) {
   velm::remote::PolicyMapAction message;
   message.set_action_type(convert(action.action_type()));
   message.set_nexthop_group_name(action.nexthop_group_name());
   for (auto const& nexthop : action.nexthops()) message.add_nexthops(ip_addr_bytes(nexthop));
   message.set_vrf(action.vrf());
   message.set_dscp(action.dscp());
   message.set_traffic_class(action.traffic_class());
   return message;
}

velm::policy_map_rule_t convert(velm::remote::PolicyMapRule const& message) {
   velm::policy_map_rule_t rule;
   rule.class_map_key_is(convert(message.class_map_key()));
   rule.policy_map_rule_type_is(convert(message.policy_map_rule_type()));
   // Whatever the type: clients have always had to send a valid raw rule, also with a class map.
   rule.raw_rule_is(convert(message.raw_rule()));
   std::set<velm::policy_map_action_t> actions;
   for (auto const& action : message.actions()) actions.insert(convert(action));
   rule.actions_is(actions);
   return rule;
}

velm::remote::PolicyMapRule convert(velm::policy_map_rule_t const& rule) {
   velm::remote::PolicyMapRule message;
   *message.mutable_class_map_key() = convert(rule.class_map_key());
   message.set_policy_map_rule_type(convert(rule.policy_map_rule_type()));
   *message.mutable_raw_rule() = convert(rule.raw_rule());
   for (auto const& action : rule.actions()) *message.add_actions() = convert(action);
   return message;
}

velm::policy_map_t convert(velm::remote::PolicyMap const& message) {
   velm::policy_map_t policyMap;
   policyMap.key_is(convert(message.key()));
   std::map<std::uint32_t, velm::policy_map_rule_t> rules;
   for (auto const& [sequence, rule] : message.rules()) rules.emplace(sequence, convert(rule));
   policyMap.rules_is(rules);
   return policyMap;
}

velm::remote::PolicyMap convert(velm::policy_map_t const& policyMap) {
   velm::remote::PolicyMap message;
   *message.mutable_key() = convert(policyMap.key());
   for (auto const& [sequence, rule] : policyMap.rules()) (*message.mutable_rules())[sequence] = convert(rule);
   return message;
}

velm::remote::PolicyMapHwStatusKey convert(velm::policy_map_hw_status_key_t const& key) {
   velm::remote::PolicyMapHwStatusKey message;
   *message.mutable_intf_id() = convert(key.intf_id());
   message.set_direction(convert(key.direction()));
   return message;
}

velm::remote::PolicyMapHwStatuses convert(velm::policy_map_hw_statuses_t const& statuses) {
   velm::remote::PolicyMapHwStatuses message;
   for (auto const& [key, status] : statuses.intf_statuses()) {
      auto& value = *message.add_intf_statuses();
      *value.mutable_key() = convert(key);
      value.set_status(convert(status));
   }
   return message;
}

}  // namespace VelmSdkRpc::types
