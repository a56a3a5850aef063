#pragma once

#include <absl/container/btree_map.h>

#include "platform/linux/forwarding/Redirects.h"
#include "platform/switch/AclMgr.h"
#include "platform/velm/class_map.h"
#include "platform/velm/policy_map.h"

namespace velm::machine {

/// What policy maps rest on, each of which may come after a policy map that names it.
struct PolicyParts {
   absl::btree_map<policy_map_key_t, class_map_t> classMaps;
   absl::btree_map<acl_key_t, embedded::Acl> acls;
};

/// What the rules of a policy map come to. Of rules that match the same the first holds. A class map or an ACL that is
/// not there matches nothing. Throws unsupported_error, with the rule's number and the reason, for a rule that does
/// anything but redirect by group and DSCP.
PolicyRedirects redirectsOf(policy_map_t const& map, PolicyParts const& parts);

}  // namespace velm::machine
