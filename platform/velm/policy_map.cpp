#include "platform/velm/policy_map.h"

namespace velm {

// A set of addresses that is kept by hash has no order of its own. It is put in order only where all else is equal,
// which hardly ever happens among the actions of one rule.
std::strong_ordering policy_map_action_t::operator<=>(policy_map_action_t const& other) const {
   auto const rest = [](policy_map_action_t const& action) {
      return std::tie(action.action_type_, action.nexthop_group_name_, action.vrf_, action.dscp_,
                      action.traffic_class_);
   };
   auto const order = rest(*this) <=> rest(other);
   if (order != 0 || nexthops_ == other.nexthops_) return order;
   auto const sorted = [](std::unordered_set<ip_addr_t> const& addresses) {
      return std::set<ip_addr_t>(addresses.begin(), addresses.end());
   };
   return sorted(nexthops_) <=> sorted(other.nexthops_);
}

}  // namespace velm
