#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "platform/switch/Carrier.h"
#include "platform/velm/acl.h"
#include "platform/velm/bfd.h"
#include "platform/velm/class_map.h"
#include "platform/velm/intf.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/nexthop_group_tunnel.h"
#include "platform/velm/policy_map.h"

// The rows of the tables, which the managers define, and the managers know this header.
namespace velm::embedded {

class MainLoop;
class MplsRowKey;
class SimulatedDataplane;
struct Acl;
struct Intf;
struct IntfTraffic;
struct IpIntf;
struct IpRoute;
struct MplsRoute;
struct PolicyMap;
struct SbfdSession;

/// The dataplane's reports about nexthop groups, on the main loop, under the SDK lock.
class GroupReports {
 public:
   virtual ~GroupReports() = default;
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

/// What a machine has and says of its ports, on the main loop, under the SDK lock. It is the truth: the tables follow,
/// their events are raised, and nobody is asked, neither the carrier of interfaces nor a folder that is full.
class PortReports {
 public:
   virtual ~PortReports() = default;
   /// The interface is there and is so, whether it just came or was known. What is so already raises nothing.
   virtual void portIs(intf_id_t intf, Intf const& intfNow) = 0;
   /// The interface is not there any more; all that hangs on it goes with it, and the carriers are told so.
   virtual void portGone(intf_id_t intf) = 0;
};

/// The same of their addresses.
class AddressReports {
 public:
   virtual ~AddressReports() = default;
   /// The interface has these addresses and no others. Dropped if there is no such interface.
   virtual void addressesAre(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) = 0;
};

/// Carries out the tables, and tells what becomes of it. There is one, and each manager speaks to it in one way: by the
/// carrier of its table, row by row in the order of the changes. All calls but stop() come under the SDK lock. What the
/// dataplane reports must not come inside such a call, but as an event of the main loop that the call posts, or later:
/// the events of a change that the dataplane answers are posted before its row is carried out, so they come first.
///
/// Its life: it is made; the managers fetch their carriers; rows come back from the state folder, then others by the
/// configuration; start(), in which it takes the machine over with all of that known; the agent's work; stop(). Nobody
/// calls it after stop() but its destructor.
class Dataplane {
 public:
   virtual ~Dataplane() = default;

   // Who carries out the rows of each table; null, as here, where nobody cares. Asked once for each table, before it
   // has rows. The dataplane keeps them for as long as it lives.

   virtual Carrier<std::string, nexthop_group_t>* groups() { return nullptr; }
   /// A carrier for each VRF's table, asked for with the VRF's first route; "" is the default VRF. Throws velm::error
   /// if there are too many VRFs.
   virtual Carrier<ip_route_key_t, IpRoute>* routes(std::string const& /*vrf*/) { return nullptr; }
   virtual Carrier<MplsRowKey, MplsRoute>* mplsRoutes() { return nullptr; }
   virtual Carrier<mpls_label_t, mpls_vrf_label_t>* vrfLabels() { return nullptr; }
   virtual Carrier<ip_prefix_t, nexthop_group_tunnel_t>* tunnels() { return nullptr; }
   /// Policy maps with where they are applied. Each set is answered by policyMapSynced or policyMapSyncFailed, each
   /// application by policyMapStatus: PolicyMap::asked tells which of them it was.
   virtual Carrier<policy_map_key_t, PolicyMap>* policyMaps() { return nullptr; }
   /// What policy maps rest on. A class map or an ACL may come after the policy map that names it, and ACLs as they are
   /// committed.
   virtual Carrier<policy_map_key_t, class_map_t>* classMaps() { return nullptr; }
   virtual Carrier<acl_key_t, Acl>* acls() { return nullptr; }
   virtual Carrier<sbfd_echo_session_key_t, SbfdSession>* sbfdSessions() { return nullptr; }
   virtual Carrier<intf_id_t, Intf>* intfs() { return nullptr; }
   virtual Carrier<intf_id_t, IpIntf>* ipIntfs() { return nullptr; }

   // What follows from more than one table, and hints.

   /// The interface came, went, or changed its state.
   virtual void intfIs(intf_id_t /*intf*/, oper_status_t /*status*/) {}
   /// Says which routes are wanted next. Changes nothing.
   virtual void prefetch(std::span<ip_route_key_t const> /*keys*/, std::string const& /*vrf*/) {}

   // What the managers need to ask. Without a value the manager answers by what it has itself.

   virtual std::optional<IntfTraffic> traffic(intf_id_t intf);
   /// Of an entry that the group has.
   virtual std::optional<nexthop_group_entry_counter_t> counter(std::string const& group, unsigned short entry);
   /// The interface's name in the kernel, and back; the empty id for a name that is no interface's.
   virtual std::string kernelName(intf_id_t intf) const;
   virtual intf_id_t intfOfKernelName(std::string const& name) const;

   // What the configuration says of an interface of the machine.

   /// The interface is the machine's device of that name. Throws unsupported_error, as here, where none is real.
   virtual void deviceIs(intf_id_t intf, std::string const& device);
   /// What arrives on the interface is looked up in that VRF; "" is the default VRF. Throws as deviceIs().
   virtual void vrfIs(intf_id_t intf, std::string const& vrf);

   /// On the main thread, once, before the main loop turns. Reports may be made inside it, and only here: what ports
   /// the machine has, and of interfaces that came back with the state and are not there, that they are gone. Throws
   /// velm::error, with one line for a person, if the machine cannot be taken over: the process ends.
   virtual void start() {}
   /// On the main thread, once, after the main loop's last turn, without the SDK lock; no other thread is inside the
   /// SDK any more.
   virtual void stop() {}

   /// A JSON object for a person who looks; its "dataplane" is the name that the command line gives it.
   virtual std::string describe() const = 0;

   /// This dataplane, if it plays the world outside by itself and by command; null, as here, if the world is real.
   virtual SimulatedDataplane* simulation() { return nullptr; }
};

/// How much a dataplane of the machine has room for, which it takes when it is made. The simulated one has no limits.
struct DataplaneCapacity {
   std::uint32_t ipv4Routes = 1'000'000;
   std::uint32_t ipv6Routes = 200'000;
   std::uint32_t groups = 65'535;  // names that anything bears or leads to
};

/// What a dataplane is made with; all of it outlives the dataplane.
struct DataplaneSurroundings {
   MainLoop& loop;
   GroupReports& groups;
   SbfdReports& sbfd;
   PolicyMapReports& policyMaps;
   PortReports& ports;
   AddressReports& addresses;
};

/// Makes a dataplane. Throws velm::error, with one line for a person, if it cannot be had here.
using DataplaneFactory = std::function<std::unique_ptr<Dataplane>(DataplaneSurroundings const&)>;

}  // namespace velm::embedded
