#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/switch/AclMgr.h"
#include "platform/switch/AgentMgr.h"
#include "platform/switch/BfdSessionMgr.h"
#include "platform/switch/BgpPathMgr.h"
#include "platform/switch/CallLedger.h"
#include "platform/switch/ClassMapMgr.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/EthLagIntfMgr.h"
#include "platform/switch/IntfCounterMgr.h"
#include "platform/switch/IntfMgr.h"
#include "platform/switch/IpIntfMgr.h"
#include "platform/switch/IpRouteMgr.h"
#include "platform/switch/MacsecMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/MplsRouteMgr.h"
#include "platform/switch/NexthopGroupMgr.h"
#include "platform/switch/NexthopGroupTunnelMgr.h"
#include "platform/switch/PolicyMapMgr.h"
#include "platform/switch/Store.h"
#include "platform/switch/VapiMgr.h"

namespace velm::embedded {

/// The switch in the process: its managers, its dataplane and the loop that turns them. Members stand in the order in
/// which they need each other. The managers are there at once; what carries out their tables is chosen later, for an
/// option says which it is.
///
/// The SDK's operations of a manager may be called by any thread: each takes the SDK lock. What a manager offers beside
/// them, for the command line, the dataplane and this class, needs the lock held by the caller, unless it says
/// otherwise; references and pointers that it gives are good for as long as the lock is held.
class Switch {
 public:
   Switch();
   explicit Switch(DataplaneFactory const& make) : Switch() { dataplaneIs(make); }
   ~Switch();  // out of line: what goes with it is half of all tables' code
   Switch(Switch const&) = delete;
   Switch& operator=(Switch const&) = delete;

   /// Makes the dataplane. Once, before all that follows. Throws what the factory throws.
   void dataplaneIs(DataplaneFactory const& make);

   /// Why a list of commands stopped, and how many were carried out before.
   struct Failure {
      std::size_t done;
      std::string message;
   };
   /// Carries configuration commands out, before the agent is initialised.
   std::optional<Failure> configure(std::vector<std::string> const& commands,
                                    commands::Stage stage = commands::Stage::any);
   /// Brings back what the folder holds and keeps every change in it from now on; before the agent is initialised.
   /// Throws StateRefused; the switch is then of no use any more.
   void stateIs(std::string const& folder);
   /// Where the state is kept; empty without a folder.
   std::string stateFolder() const { return store ? store->path() : std::string(); }
   /// Starts the dataplane and carries the configuration out: what it says of the machine's devices first, for with
   /// that the dataplane starts, and all else after it, for that may need the ports that there are now. Throws what the
   /// start of the dataplane throws.
   std::optional<Failure> start(std::vector<std::string> const& configuration);
   /// Calls on_initialized and turns the loop until the agent has stopped.
   void run();

   std::unique_ptr<Store> store;  // null without a state folder
   CallLedger ledger;
   MainLoop loop;
   AgentMgr agent;
   IntfMgr intfs;
   IntfCounterMgr intfCounters;
   IpIntfMgr ipIntfs;
   EthLagIntfMgr ethLagIntfs;
   MacsecMgr macsec;
   IpRouteMgr ipRoutes;
   MplsRouteMgr mplsRoutes;
   MplsVrfLabelMgr mplsVrfLabels;
   NexthopGroupMgr nexthopGroups;
   NexthopGroupTunnelMgr nexthopGroupTunnels;
   BfdSessionMgr bfdSessions;
   BgpPathMgr bgpPaths;
   AclMgr acls;
   ClassMapMgr classMaps;
   PolicyMapMgr policyMaps;
   std::unique_ptr<Dataplane> dataplane;
   VapiMgr vapi;

 private:
   void storeIs(Store& folder);
};

}  // namespace velm::embedded
