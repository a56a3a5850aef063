#include "platform/linux/PolicyRules.h"

#include <fmt/format.h>

#include "platform/velm/errors.h"

// A rule of the fast path is: packets of this family, with this DSCP, that would leave through this group, leave
// through that one. Everything else that the tables can say is refused, and told, rather than matched by half.
namespace velm::machine {
namespace {

constexpr unsigned char dscpMaskIpv4 = 0x3f;
constexpr unsigned char dscpMaskIpv6 = 0xfc;  // as the traffic class has it, above two bits of ECN
constexpr unsigned ecnBits = 2;

class Reader {
 public:
   Reader(policy_map_t const& map, PolicyParts const& parts) : map_(map), parts_(parts) {}

   PolicyRedirects read() {
      for (auto const& [sequence, rule] : map_.rules()) {
         sequence_ = sequence;
         auto const& group = groupOf(rule);
         if (rule.policy_map_rule_type() != policy_map_rule_type_t::class_map) refuse("it carries a raw rule");
         readClassMap(rule.class_map_key(), group);
      }
      return std::move(redirects_);
   }

 private:
   [[noreturn]] void refuse(std::string const& why) const {
      throw unsupported_error(fmt::format("policy map {}, rule {}: {}", map_.key().to_string(), sequence_, why));
   }

   std::string const& groupOf(policy_map_rule_t const& rule) const {
      if (rule.actions().size() != 1) refuse(fmt::format("it has {} actions, not one", rule.actions().size()));
      auto const& action = *rule.actions().begin();
      if (action.action_type() != policy_action_type_t::nexthop_group)
         refuse("it does not redirect to a nexthop group");
      if (action.nexthop_group_name().empty()) refuse("it names no nexthop group");
      return action.nexthop_group_name();
   }

   void readClassMap(policy_map_key_t const& key, std::string const& group) {
      auto const found = parts_.classMaps.find(key);
      if (found == parts_.classMaps.end()) return;
      for (auto const& [sequence, rule] : found->second.rules()) readAcl(rule.acl_key(), group);
   }

   void readAcl(acl_key_t const& key, std::string const& group) {
      auto const found = parts_.acls.find(key);
      if (found == parts_.acls.end()) return;
      bool const isIpv6 = key.acl_type() == acl_type_t::ipv6;
      if (!isIpv6 && key.acl_type() != acl_type_t::ipv4) refuse(fmt::format("ACL {} is of no family", key.acl_name()));
      for (auto const& [sequence, rule] : found->second.rules) {
         auto const dscp = dscpOf(key, sequence, rule, isIpv6);
         auto& redirect = redirects_[rule.nexthop_group()][isIpv6 ? 1 : 0][dscp];
         if (redirect.empty()) redirect = group;
      }
   }

   unsigned dscpOf(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule, bool isIpv6) const {
      auto const demand = [&](bool holds, char const* what) {
         if (!holds) refuse(fmt::format("rule {} of ACL {} {}", sequence, key.acl_name(), what));
      };
      demand(rule.action() == acl_action_t::permit, "does not permit");
      demand(!rule.nexthop_group().empty(), "names no nexthop group");
      demand(rule.match_ip_priority(), "does not match the DSCP");
      auto const mask = isIpv6 ? dscpMaskIpv6 : dscpMaskIpv4;
      demand(rule.priority_mask() == mask && (rule.priority_value() & ~mask) == 0,
             "matches other bits than the DSCP's");
      // All but what has been looked at must be as in a rule that matches nothing else.
      acl_rule_ip_t plain;
      plain.action_is(rule.action());
      plain.nexthop_group_is(rule.nexthop_group());
      plain.match_ip_priority_is(true);
      plain.priority_mask_is(rule.priority_mask());
      plain.priority_value_is(rule.priority_value());
      plain.ip_type_is(rule.ip_type());
      demand(rule == plain, "matches more than nexthop group and DSCP");
      return isIpv6 ? rule.priority_value() >> ecnBits : rule.priority_value();
   }

   policy_map_t const& map_;
   PolicyParts const& parts_;
   PolicyRedirects redirects_;
   std::uint32_t sequence_ = 0;
};

}  // namespace

PolicyRedirects redirectsOf(policy_map_t const& map, PolicyParts const& parts) { return Reader(map, parts).read(); }

}  // namespace velm::machine
