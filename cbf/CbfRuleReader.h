#pragma once

#include <cstdint>
#include <optional>

#include "cbf/CbfRedirect.h"
#include "platform/velm/class_map.h"
#include "platform/velm/policy_map.h"

namespace VelmSdkRpc {

/// What one rule of a policy map says, once class map and ACLs are read.
struct CbfRule {
   CbfRedirectKey key;
   CbfDscpValues dscpValues;
};

/// Reads a rule of the agent's policy map back; nothing for one that is no redirect. Every defect is traced, and the
/// rest is read all the same. An ACL of a type that the agent never writes ends the process. Under the SDK lock; passes
/// the managers' errors on and changes nothing.
std::optional<CbfRule> readCbfRule(std::uint32_t seq, velm::policy_map_rule_t const& rule,
                                   velm::class_map_mgr const& classMapMgr, velm::acl_mgr const& aclMgr);

}  // namespace VelmSdkRpc
