#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "clients/demo/Entries.h"

/// What the agent makes of redirects on the switch: rules of three kinds, which name one another.
namespace VelmSdkRpc::demo {

/// The numbers are the switch's.
enum class AclType : std::uint32_t { ipv4 = 1, ipv6 = 2 };

struct AclKey {
   std::string name;
   AclType type = AclType::ipv4;

   auto operator<=>(AclKey const&) const = default;
};

/// Packets of the class leave through the group.
struct PolicyRule {
   std::string policyMap;
   std::uint32_t sequence = 0;
   std::string classMap;
   std::string group;

   auto operator<=>(PolicyRule const&) const = default;
};

/// Packets that the ACL permits are of the class.
struct ClassRule {
   std::string classMap;
   std::uint32_t sequence = 0;
   AclKey acl;

   auto operator<=>(ClassRule const&) const = default;
};

/// The ACL permits packets to the group whose IP header has the priority under the mask.
struct AclRule {
   AclKey acl;
   std::uint32_t sequence = 0;
   std::string group;
   std::uint32_t priority = 0;
   std::uint32_t mask = 0;

   auto operator<=>(AclRule const&) const = default;
};

struct RedirectTables {
   std::vector<PolicyRule> policyRules;
   std::vector<ClassRule> classRules;
   std::vector<AclRule> aclRules;
};

/// What the switch is to hold for these, and for no other. Their groups' names are without hyphens and underscores.
RedirectTables tablesFor(std::vector<Redirect> const& redirects);

}  // namespace VelmSdkRpc::demo
