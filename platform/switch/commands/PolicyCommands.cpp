#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"
#include "platform/switch/commands/Simulation.h"

// Reports of the dataplane are simulated through the dataplane and not through the manager, so that it takes its
// turn among the reports that are under way.
namespace velm::embedded::commands {
namespace {

std::string showClassMap(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeArray(json, "class_maps", session.device.classMaps.table(),
                 [&](auto const&, class_map_t const& map) { writeJson(json, map); });
   });
}

std::string showPolicyMap(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeArray(json, "policy_maps", session.device.policyMaps.table(), [&](auto const&, PolicyMap const& row) {
         json.StartObject();
         writeAttributes(json, row.map);
         writeMember(json, "applied", row.applied);
         json.EndObject();
      });
   });
}

policy_map_key_t classMapKey(std::string const& name) { return {name, policy_feature_t::pbr}; }

policy_map_key_t policyMapKey(Arguments const& arguments) {
   return {arguments.text("NAME"), enumOf<policy_feature_t>(arguments.number("N:feature"), "feature")};
}

SimulatedPolicyMaps& policyMapSimulation(Session& session, policy_map_key_t const& key) {
   return simulation(session.device, fmt::format("policy map {}", key.name()), "set or apply it").simulatedPolicyMaps();
}

std::uint32_t sequence(Arguments const& arguments) {
   return narrowed<std::uint32_t>(arguments.number("N:sequence"), "rule");
}

std::string simulateEvent(Session& session, Arguments const& arguments) {
   auto const key = policyMapKey(arguments);
   if (arguments.text("sync|config-set") == "sync") {
      policyMapSimulation(session, key).simulateSync(key);
   } else {
      session.device.policyMaps.raiseConfigSet(key);
   }
   return done;
}

std::string simulateSyncFail(Session& session, Arguments const& arguments) {
   auto const key = policyMapKey(arguments);
   policyMapSimulation(session, key).simulateSyncFail(key, arguments.text("TEXT"));
   return done;
}

// The direction is a word or the SDK's number.
acl_direction_t direction(Arguments const& arguments) {
   if (arguments.has("in|out")) return arguments.text("in|out") == "in" ? acl_direction_t::in : acl_direction_t::out;
   return enumOf<acl_direction_t>(arguments.number("N:direction"), "direction");
}

std::string simulateHwStatus(Session& session, Arguments const& arguments) {
   auto const key = policyMapKey(arguments);
   policyMapSimulation(session, key)
      .simulateStatus(key, {arguments.intf("INTF"), direction(arguments)},
                      enumOf<policy_map_status_t>(arguments.number("N:status"), "hw-status"));
   return done;
}

std::string simulatePolicyMapRule(Session& session, Arguments const& arguments) {
   policy_map_rule_t rule(classMapKey(arguments.text("CM")));
   for (auto const& group : arguments.texts("NHG")) {
      policy_map_action_t action(policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is(group);
      rule.action_set(action);
   }
   session.device.policyMaps.ruleIs(policyMapKey(arguments), sequence(arguments), rule);
   return done;
}

std::string simulateClassMapRule(Session& session, Arguments const& arguments) {
   acl_key_t const acl(arguments.text("ACL"), enumOf<acl_type_t>(arguments.number("N:type"), "type"));
   session.device.classMaps.ruleIs(classMapKey(arguments.text("NAME")), sequence(arguments), class_map_rule_t(acl));
   return done;
}

}  // namespace

std::vector<Command> policyShowCommands() {
   return {{"show class-map", showClassMap}, {"show policy-map", showPolicyMap}};
}

std::vector<Command> policyConfigurationCommands() {
   return {{"simulate policy-map NAME feature N:feature sync|config-set", simulateEvent},
           {"simulate policy-map NAME feature N:feature sync-fail TEXT", simulateSyncFail},
           {"simulate policy-map NAME feature N:feature hw-status INTF N:direction N:status", simulateHwStatus},
           {"simulate policy-map NAME feature N:feature hw-status INTF in|out N:status", simulateHwStatus},
           {"simulate policy-map NAME feature N:feature rule N:sequence class-map CM [nexthop-group NHG]...",
            simulatePolicyMapRule},
           {"simulate class-map NAME rule N:sequence acl ACL type N:type", simulateClassMapRule}};
}

}  // namespace velm::embedded::commands
