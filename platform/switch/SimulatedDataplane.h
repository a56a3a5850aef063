#pragma once

#include <absl/container/flat_hash_map.h>

#include <memory>
#include <set>
#include <string>

#include "platform/switch/BfdSessionMgr.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/SimulatedPolicyMaps.h"
#include "platform/switch/SimulatedSbfd.h"

namespace velm::embedded {

/// A dataplane without hardware: every group can be programmed, and is active when one of its entries leaves by an
/// interface that is up, or by an address or a child group without naming an interface. For routes, labels and all else
/// that nothing is reported of it does nothing.
class SimulatedDataplane : public Dataplane,
                           private Boundless<std::string, nexthop_group_t>,
                           private Boundless<sbfd_echo_session_key_t, SbfdSession> {
 public:
   explicit SimulatedDataplane(DataplaneSurroundings const& around)
      : loop_(around.loop),
        reports_(around.groups),
        sbfd_(around.loop, around.sbfd),
        policyMaps_(around.loop, around.policyMaps) {}

   Carrier<std::string, nexthop_group_t>* groups() override { return this; }
   Carrier<sbfd_echo_session_key_t, SbfdSession>* sbfdSessions() override { return this; }
   Carrier<policy_map_key_t, PolicyMap>* policyMaps() override { return &policyMaps_; }
   void intfIs(intf_id_t intf, oper_status_t status) override;
   std::string describe() const override;
   SimulatedDataplane* simulation() override { return this; }

   SimulatedSbfd& sbfd() { return sbfd_; }
   SimulatedPolicyMaps& simulatedPolicyMaps() { return policyMaps_; }
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

   void carryOut(std::string const& name, nexthop_group_t const* now, Room room) noexcept override;
   void carryOut(sbfd_echo_session_key_t const& key, SbfdSession const* now, Room room) noexcept override;

   static Exits exitsOf(nexthop_group_t const& group);
   void program(std::string const& name, Exits exits);
   void forget(std::string const& name);
   void watchExits(std::string const& name, Exits const& exits, bool on);
   void refresh(std::string const& name, Group& group);

   MainLoop& loop_;
   GroupReports& reports_;
   // Touched on the main loop only, under the SDK lock.
   absl::flat_hash_map<std::string, Group> groups_;
   absl::flat_hash_map<intf_id_t, std::set<std::string>> groupsByIntf_;
   std::set<intf_id_t> up_;
   SimulatedSbfd sbfd_;
   SimulatedPolicyMaps policyMaps_;
};

std::unique_ptr<Dataplane> makeSimulatedDataplane(DataplaneSurroundings const& around);

}  // namespace velm::embedded
