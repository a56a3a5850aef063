#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"

// `show acl` gives the committed ACLs, where the SDK's reads give the staged ones as well: a person who looks wants to
// see what is in force.
namespace velm::embedded::commands {
namespace {

// With a name, the ACLs of that name, which may be several or none.
std::string showAcl(Session& session, Arguments const& arguments) {
   auto const& acls = session.device.acls;
   return jsonObject([&](JsonWriter& json) {
      writeArray(json, "acls", acls.committed(), [&](acl_key_t const& key, Acl const& acl) {
         if (arguments.has("NAME") && key.acl_name() != arguments.text("NAME")) return;
         json.StartObject();
         writeAttributes(json, key);
         writeAttributes(json, acl);
         json.EndObject();
      });
      writeMember(json, "staged", acls.staged());
   });
}

std::string simulateAclRule(Session& session, Arguments const& arguments) {
   acl_key_t const key(arguments.text("NAME"), enumOf<acl_type_t>(arguments.number("N:type"), "type"));
   acl_rule_ip_t rule;
   rule.action_is(acl_action_t::permit);
   rule.nexthop_group_is(arguments.text("NHG"));
   rule.match_ip_priority_is(true);
   rule.priority_value_is(narrowed<unsigned char>(arguments.number("N:value"), "priority"));
   rule.priority_mask_is(narrowed<unsigned char>(arguments.number("N:mask"), "mask"));
   session.device.acls.committedRuleIs(key, narrowed<std::uint32_t>(arguments.number("N:sequence"), "rule"), rule);
   return done;
}

}  // namespace

std::vector<Command> aclShowCommands() { return {{"show acl [NAME]", showAcl}}; }

std::vector<Command> aclConfigurationCommands() {
   return {{"simulate acl NAME type N:type rule N:sequence nexthop-group NHG priority N:value mask N:mask",
            simulateAclRule}};
}

}  // namespace velm::embedded::commands
