#pragma once

#include <absl/container/flat_hash_map.h>

#include <set>
#include <string>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/SimulatedPolicyMaps.h"
#include "platform/switch/SimulatedSbfd.h"

namespace velm::embedded {

/// A dataplane without hardware: every group can be programmed, and is active when one of its entries leaves by an
/// interface that is up, or by an address or a child group without naming an interface.
class SimulatedDataplane : public Dataplane {
 public:
   SimulatedDataplane(MainLoop& loop, DataplaneReports& reports, SbfdReports& sbfdReports,
                      PolicyMapReports& policyMapReports)
      : loop_(loop), reports_(reports), sbfd_(loop, sbfdReports), policyMaps_(loop, policyMapReports) {}

   void groupIs(nexthop_group_t const& group) override;
   void groupDel(std::string const& name) override;
   void sbfdIs(sbfd_echo_session_key_t const& key, sbfd_interval_t interval, bool rttEnabled) override;
   void sbfdDel(sbfd_echo_session_key_t const& key) override;
   void policyMapIs(policy_map_t const& map) override { policyMaps_.set(map.key()); }
   void policyMapApply(policy_map_key_t const& key, policy_map_hw_status_key_t const& place, bool on) override {
      policyMaps_.apply(key, place, on);
   }
   void policyMapDel(policy_map_key_t const& key) override { policyMaps_.del(key); }
   void intfIs(intf_id_t intf, oper_status_t status) override;

   SimulatedSbfd& sbfd() { return sbfd_; }
   SimulatedPolicyMaps& policyMaps() { return policyMaps_; }
   /// Report what they are told, in turn with all else, also of a group that there is not. A group's next programming
   /// or change of state goes on from there.
   void simulateProgrammed(std::string const& name, unsigned short version);
   void simulateActive(std::string const& name, bool active);

 private:
   /// The part of a group that decides whether traffic can leave through it.
   struct Exits {
      std::set<intf_id_t> intfs;
      bool always = false;  // by an entry that names no interface
   };
   struct Group {
      Exits exits;
      unsigned short version = 0;
      bool active = false;
   };

   static Exits exitsOf(nexthop_group_t const& group);
   void program(std::string const& name, Exits exits);
   void forget(std::string const& name);
   void watchExits(std::string const& name, Exits const& exits, bool on);
   void refresh(std::string const& name, Group& group);

   MainLoop& loop_;
   DataplaneReports& reports_;
   // Touched on the main loop only, under the SDK lock.
   absl::flat_hash_map<std::string, Group> groups_;
   absl::flat_hash_map<intf_id_t, std::set<std::string>> groupsByIntf_;
   std::set<intf_id_t> up_;
   SimulatedSbfd sbfd_;
   SimulatedPolicyMaps policyMaps_;
};

}  // namespace velm::embedded
