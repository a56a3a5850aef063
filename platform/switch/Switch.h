#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/switch/AgentMgr.h"
#include "platform/switch/CallLedger.h"
#include "platform/switch/IntfMgr.h"
#include "platform/switch/IpIntfMgr.h"
#include "platform/switch/IpRouteMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/MplsRouteMgr.h"
#include "platform/switch/NexthopGroupMgr.h"
#include "platform/switch/NexthopGroupTunnelMgr.h"
#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/UnbuiltMgrs.h"
#include "platform/switch/VapiMgr.h"

namespace velm::embedded {

/// The switch in the process: its managers, its dataplane and the loop that turns them. Members stand in the order in
/// which they need each other.
class Switch {
 public:
   Switch();

   /// Why a list of commands stopped, and how many were carried out before.
   struct Failure {
      std::size_t done;
      std::string message;
   };
   /// Carries configuration commands out, before the agent is initialised.
   std::optional<Failure> configure(std::vector<std::string> const& commands);
   /// Calls on_initialized and turns the loop until the agent has stopped.
   void run();

   CallLedger ledger;
   MainLoop loop;
   AgentMgr agent;
   IntfMgr intfs;
   IntfCounterMgr intfCounters;
   IpIntfMgr ipIntfs;
   IpRouteMgr ipRoutes;
   MplsRouteMgr mplsRoutes;
   MplsVrfLabelMgr mplsVrfLabels;
   NexthopGroupMgr nexthopGroups;
   NexthopGroupTunnelMgr nexthopGroupTunnels;
   SimulatedDataplane dataplane;
   AclMgr acls;
   BfdSessionMgr bfdSessions;
   BgpPathMgr bgpPaths;
   ClassMapMgr classMaps;
   EthLagIntfMgr ethLagIntfs;
   MacsecMgr macsec;
   PolicyMapMgr policyMaps;
   VapiMgr vapi;
};

}  // namespace velm::embedded
