#include "clients/demo/RedirectTables.h"

#include "clients/demo/Plan.h"

namespace VelmSdkRpc::demo {
namespace {

void addRules(std::vector<AclRule>& rules, AclKey const& acl, std::string const& group,
              std::vector<std::uint32_t> const& dscp) {
   // In the traffic class of IPv6 the DSCP is the upper six bits.
   unsigned const shift = acl.type == AclType::ipv6 ? 2 : 0;
   std::uint32_t sequence = 0;
   for (auto const value : dscp) rules.push_back({acl, ++sequence, group, value << shift, 0x3FU << shift});
}

}  // namespace

RedirectTables tablesFor(std::vector<Redirect> const& redirects) {
   RedirectTables tables;
   std::uint32_t sequence = 0;
   for (auto const& redirect : redirects) {
      auto const name = redirect.match + "-" + redirect.to;
      AclKey const ipv4{name + "_IPv4", AclType::ipv4};
      AclKey const ipv6{name + "_IPv6", AclType::ipv6};
      tables.policyRules.push_back({std::string(policyMapName), ++sequence, name, redirect.to});
      tables.classRules.push_back({name, 1, ipv4});
      tables.classRules.push_back({name, 2, ipv6});
      addRules(tables.aclRules, ipv4, redirect.match, redirect.ipv4Dscp);
      addRules(tables.aclRules, ipv6, redirect.match, redirect.ipv6Dscp);
   }
   return tables;
}

}  // namespace VelmSdkRpc::demo
