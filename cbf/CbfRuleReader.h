#pragma once

#include <cstdint>
#include <optional>

#include "cbf/CbfRedirect.h"
#include "platform/velm/class_map.h"
#include "platform/velm/policy_map.h"

namespace VelmSdkRpc {

/// The redirect that one rule of a policy map makes, read from its class map and ACLs.
struct CbfRule {
   CbfRedirectKey key;
   CbfDscpValues dscpValues;
};

/// Reads a rule of the agent's policy map back; nothing for one that is no redirect as the agent writes them: one
/// action, which names a group, and a class map with at most one ACL of each family, whose rules all match the same
/// group.
///
/// Every defect is traced at level 0, and the rest is read all the same, so that an operator reads all of them at once.
/// An ACL of a type that the agent never writes ends the process, as a fatal fault of the configuration. Under the SDK
/// lock; passes the managers' errors on and changes nothing.
std::optional<CbfRule> readCbfRule(std::uint32_t seq, velm::policy_map_rule_t const& rule,
                                   velm::class_map_mgr const& classMapMgr, velm::acl_mgr const& aclMgr);

}  // namespace VelmSdkRpc
