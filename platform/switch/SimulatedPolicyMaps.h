#pragma once

#include <optional>
#include <string>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/PolicyMapMgr.h"

namespace velm::embedded {

/// The simulated dataplane's part for policy maps: every one can be carried out, everywhere. It has nothing to
/// remember.
class SimulatedPolicyMaps : public Boundless<policy_map_key_t, PolicyMap> {
 public:
   SimulatedPolicyMaps(MainLoop& loop, PolicyMapReports& reports) : loop_(loop), reports_(reports) {}

   void carryOut(policy_map_key_t const& key, PolicyMap const* now, Room room) noexcept override;
   void restore(policy_map_key_t const& key, PolicyMap const& row) override;

   // Report what they are told, in turn with all else, also of a policy map that there is not.

   void simulateSync(policy_map_key_t const& key);
   void simulateSyncFail(policy_map_key_t const& key, std::string const& message);
   /// Reported at once as well, for whoever reads the status next; in turn, so that what is under way does not undo it.
   void simulateStatus(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                       policy_map_status_t status);

 private:
   void report(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
               std::optional<policy_map_status_t> status);

   MainLoop& loop_;
   PolicyMapReports& reports_;
};

}  // namespace velm::embedded
