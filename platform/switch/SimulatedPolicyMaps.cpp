#include "platform/switch/SimulatedPolicyMaps.h"

// Nothing can go wrong in a simulation, so what was asked is answered by one report and no state is needed: the manager
// keeps what was reported. Failures come by the command line, through the same queue.
namespace velm::embedded {

void SimulatedPolicyMaps::carryOut(policy_map_key_t const& key, PolicyMap const* now, Room /*room*/) noexcept {
   if (now == nullptr) {
      loop_.post([this, key] { reports_.policyMapGone(key); });
   } else if (auto const& place = now->asked.place) {
      report(key, *place,
             now->applied.contains(*place) ? std::optional(policy_map_status_t::programmed) : std::nullopt);
   } else if (now->asked.set) {
      simulateSync(key);
   }
}

void SimulatedPolicyMaps::restore(policy_map_key_t const& key, PolicyMap const& row) {
   for (auto const& place : row.applied) report(key, place, policy_map_status_t::programmed);
}

void SimulatedPolicyMaps::simulateSync(policy_map_key_t const& key) {
   loop_.post([this, key] { reports_.policyMapSynced(key); });
}

void SimulatedPolicyMaps::simulateSyncFail(policy_map_key_t const& key, std::string const& message) {
   loop_.post([this, key, message] { reports_.policyMapSyncFailed(key, message); });
}

void SimulatedPolicyMaps::simulateStatus(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                                         policy_map_status_t status) {
   reports_.policyMapStatus(key, place, status);
   report(key, place, status);
}

void SimulatedPolicyMaps::report(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                                 std::optional<policy_map_status_t> status) {
   loop_.post([this, key, place, status] { reports_.policyMapStatus(key, place, status); });
}

}  // namespace velm::embedded
