#pragma once

#include <optional>
#include <string>

#include "platform/velm/bfd.h"
#include "platform/velm/intf.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"

namespace velm::embedded {

/// The dataplane's reports about nexthop groups, on the main loop, under the SDK lock.
class DataplaneReports {
 public:
   virtual ~DataplaneReports() = default;
   virtual void groupProgrammed(std::string const& name, unsigned short version) = 0;
   virtual void groupActive(std::string const& name, bool active) = 0;
   virtual void groupGone(std::string const& name) = 0;
};

/// The dataplane's reports about sBFD echo sessions, on the main loop, under the SDK lock: where they stand, as often
/// as there is reason to say so.
class SbfdReports {
 public:
   virtual ~SbfdReports() = default;
   virtual void sbfdStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status) = 0;
   virtual void sbfdRtt(sbfd_echo_session_key_t const& key, sbfd_echo_session_rtt_stats_t const& stats) = 0;
};

/// The dataplane's reports about policy maps, on the main loop, under the SDK lock.
class PolicyMapReports {
 public:
   virtual ~PolicyMapReports() = default;
   /// The policy map is carried out as it was last set, or cannot be.
   virtual void policyMapSynced(policy_map_key_t const& key) = 0;
   virtual void policyMapSyncFailed(policy_map_key_t const& key, std::string const& message) = 0;
   /// The policy map has a status in that place now, or none any more.
   virtual void policyMapStatus(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                                std::optional<policy_map_status_t> status) = 0;
   virtual void policyMapGone(policy_map_key_t const& key) = 0;
};

/// Carries out the tables. Each call only queues the work; it is done and reported later, in the order of the
/// calls, on the main loop. Called under the SDK lock.
class Dataplane {
 public:
   virtual ~Dataplane() = default;
   virtual void groupIs(nexthop_group_t const& group) = 0;
   virtual void groupDel(std::string const& name) = 0;
   /// The interval has no 0 in it.
   virtual void sbfdIs(sbfd_echo_session_key_t const& key, sbfd_interval_t interval, bool rttEnabled) = 0;
   virtual void sbfdDel(sbfd_echo_session_key_t const& key) = 0;
   virtual void policyMapIs(policy_map_t const& map) = 0;
   /// Puts the policy map to work in a place, or ends that.
   virtual void policyMapApply(policy_map_key_t const& key, policy_map_hw_status_key_t const& place, bool on) = 0;
   /// Ends its work everywhere.
   virtual void policyMapDel(policy_map_key_t const& key) = 0;
   /// The interface came, went, or changed its state.
   virtual void intfIs(intf_id_t intf, oper_status_t status) = 0;
};

}  // namespace velm::embedded
