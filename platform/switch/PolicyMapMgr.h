#pragma once

#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/policy_map.h"

namespace velm::embedded {

/// What was asked of a policy map. The dataplane reports on the set, or on the place, even if nothing is new; on
/// neither, as for a rule that the command line wrote, it has nothing to say.
struct PolicyMapRequest {
   bool set = false;
   std::optional<policy_map_hw_status_key_t> place = std::nullopt;
};

/// A policy map as the switch keeps it.
struct PolicyMap {
   policy_map_t map;
   std::set<policy_map_hw_status_key_t> applied;
   PolicyMapRequest asked = {};  // what made the row what it is; not stored

   static constexpr auto attributes() {
      return std::tuple{attribute{"map", &PolicyMap::map}, attribute{"applied", &PolicyMap::applied}};
   }
};
using PolicyMapTable = Table<policy_map_key_t, PolicyMap>;

/// Policy maps: what was asked for, and beside it what the dataplane reported.
class PolicyMapMgr : public policy_map_mgr, public PolicyMapReports {
 public:
   PolicyMapMgr(CallLedger& ledger, MainLoop& loop);

   /// The dataplane carries the policy maps out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.policyMaps()); }
   /// Brings the folder's policy maps back, which are applied where they were applied, and keeps every change in it.
   void storeIs(Store& store);
   PolicyMapTable const& table() const { return table_; }

   void resync_init() override;
   void resync_complete() override;
   bool exists(policy_map_key_t const& key) const override;
   policy_map_t policy_map(policy_map_key_t const& key) const override;
   void policy_map_is(policy_map_t const& policy_map) override;
   void policy_map_del(policy_map_key_t const& key) override;
   policy_map_iter_t policy_map_iter() const override;
   void policy_map_apply(policy_map_key_t const& key, intf_id_t intf, acl_direction_t direction, bool apply) override;
   policy_map_hw_status_iter_t policy_map_hw_status_iter() const override;
   policy_map_hw_statuses_t hw_status(policy_map_key_t const& key) const override;

   void policyMapSynced(policy_map_key_t const& key) override;
   void policyMapSyncFailed(policy_map_key_t const& key, std::string const& message) override;
   void policyMapStatus(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                        std::optional<policy_map_status_t> status) override;
   void policyMapGone(policy_map_key_t const& key) override;

   // For the command line.

   /// Sets one rule of a policy map, which is made if need be, and raises nothing. Throws invalid_argument_error for an
   /// empty name.
   void ruleIs(policy_map_key_t const& key, std::uint32_t sequence, policy_map_rule_t const& rule);
   /// Raises the event of a policy map that was set, whether there is one or not.
   void raiseConfigSet(policy_map_key_t const& key);

 private:
   PolicyMapTable table_;
   Table<policy_map_key_t, policy_map_hw_statuses_t::intf_statuses_t> statuses_;  // no empty ones
   MainLoop& loop_;

   Operations<"policy_map_mgr", "resync_init", "resync_complete", "exists", "policy_map", "policy_map_is",
              "policy_map_del", "policy_map_iter", "policy_map_apply", "policy_map_hw_status_iter", "hw_status">
      operations_;
};

}  // namespace velm::embedded
