#include "platform/linux/LinuxDataplane.h"

#include <fmt/format.h>

#include <chrono>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <source_location>
#include <string>
#include <utility>

#include "platform/linux/GroupCarrier.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/IntfCarriers.h"
#include "platform/linux/LabelCarriers.h"
#include "platform/linux/LockGate.h"
#include "platform/linux/PolicyCarriers.h"
#include "platform/linux/Ports.h"
#include "platform/linux/Refusals.h"
#include "platform/linux/Resolver.h"
#include "platform/linux/RouteCarrier.h"
#include "platform/linux/Show.h"
#include "platform/linux/Sizes.h"
#include "platform/linux/TunnelCarrier.h"
#include "platform/linux/forwarding/RouteRoom.h"
#include "platform/linux/grace/GracePeriods.h"
#include "platform/linux/grace/KernelGrace.h"
#include "platform/pesko/Trace.h"
#include "platform/switch/IntfCounterMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/velm/errors.h"

// Who rests on whom, from what packets read up to what clients say:
//
//   RouteCarrier,  --> Leaves --> Groups --> Exits --> Hops <-- Ports <-- the kernel's notices
//   LabelCarriers                   ^                   ^         |
//        |                          |                   |         v
//        v                     GroupCarrier         Connected <---+
//   VrfRoutes, Labels <---------------------------------+
//
// Leaves finds where hops that name no interface lead: Tunnels, Connected, VrfRoutes again. What was found so is
// noted in Resting, and looked for anew when one of these changes.
//
// Two roads lead in: a client's change, under the SDK lock, by a carrier; and a notice of the kernel, on the main loop,
// by Ports. Both end in stores to shared memory before they return, and what they have to report is posted.
namespace velm::machine {
namespace {

using embedded::Carrier;

class LinuxDataplane final : public embedded::Dataplane {
 public:
   LinuxDataplane(embedded::DataplaneSurroundings const& surroundings, embedded::DataplaneCapacity const& capacity)
      : outside_(surroundings),
        program_(sizesFor(capacity), std::random_device()()),
        periods_([this] { grace_.wait(); }),
        memory_(program_.arrays().trie, Vrfs::tables, periods_),
        room_(memory_, periods_),
        vrfs_(memory_, program_.arrays().vrfs),
        resolver_(outside_.loop, {.ports = [this] { return ports_.get(); },
                                  .wanted = [this](auto const& neighbour) { return hops_.wanted(neighbour); },
                                  .warn = warning()}),
        hops_(program_.arrays().hops, periods_, hopCallbacks()),
        counters_(program_.arrays().entryTraffic, Program::cpus(),
                  static_cast<std::uint32_t>(program_.arrays().exits.size()), periods_),
        exits_(program_.arrays().exits, hops_, counters_, periods_),
        buckets_(program_.arrays().buckets, periods_),
        connected_(vrfs_, exits_, room_, {.networksChanged = [this] { networksChanged(); }, .left = warning()}),
        groups_(program_.arrays().groups, exits_, counters_, buckets_, periods_, view(), groupCallbacks()),
        leaves_(groups_, exits_, tunnels_, vrfs_, view()),
        labels_(program_.arrays().labels, leaves_),
        rests_([this](auto const& vrf, auto const& prefix) { renew(vrf, prefix); }),
        groupCarrier_(groups_, warning()),
        labelCarrier_(labels_, leaves_, rests_, warning()),
        vrfLabelCarrier_(labels_, vrfs_, rests_, warning()),
        tunnelCarrier_(tunnels_, rests_),
        redirectRows_{program_.arrays().redirects,
                      {MAX_REDIRECT_ROWS, periods_},
                      {.is = [this](auto const& key, auto row) { program_.redirectIs(key, row); },
                       .del = [this](auto const& key) { program_.redirectDel(key); }}},
        policyMapCarrier_(outside_.loop, outside_.policyMaps, redirectRows_, groups_,
                          [this](intf_id_t intf) {
                             if (ports_ != nullptr) ports_->policyChanged(intf);
                          }),
        gate_(periods_, policyMapCarrier_, rests_, labels_),
        intfCarrier_([this] { return ports_.get(); }),
        ipIntfCarrier_([this] { return ports_.get(); }) {}

   Carrier<std::string, nexthop_group_t>* groups() override { return &groupCarrier_; }
   Carrier<ip_route_key_t, embedded::IpRoute>* routes(std::string const& vrf) override {
      if (auto const known = routeCarriers_.find(vrf); known != routeCarriers_.end()) return known->second.get();
      auto made = std::make_unique<RouteCarrier>(vrfNamed(vrf), vrfs_.of(vrfNamed(vrf)).routes, connected_, leaves_,
                                                 room_, rests_, warning());
      return routeCarriers_.emplace(vrf, std::move(made)).first->second.get();
   }
   Carrier<embedded::MplsRowKey, embedded::MplsRoute>* mplsRoutes() override { return &labelCarrier_; }
   Carrier<mpls_label_t, mpls_vrf_label_t>* vrfLabels() override { return &vrfLabelCarrier_; }
   Carrier<ip_prefix_t, nexthop_group_tunnel_t>* tunnels() override { return &tunnelCarrier_; }
   Carrier<sbfd_echo_session_key_t, embedded::SbfdSession>* sbfdSessions() override { return &noSbfd_; }
   Carrier<policy_map_key_t, embedded::PolicyMap>* policyMaps() override { return &policyMapCarrier_; }
   Carrier<policy_map_key_t, class_map_t>* classMaps() override { return &policyMapCarrier_.classMaps(); }
   Carrier<acl_key_t, embedded::Acl>* acls() override { return &policyMapCarrier_.acls(); }
   Carrier<intf_id_t, embedded::Intf>* intfs() override { return &intfCarrier_; }
   Carrier<intf_id_t, embedded::IpIntf>* ipIntfs() override { return &ipIntfCarrier_; }

   void prefetch(std::span<ip_route_key_t const> keys, std::string const& vrf) override {
      if (auto const found = routeCarriers_.find(vrf); found != routeCarriers_.end()) found->second->prefetch(keys);
   }
   std::optional<embedded::IntfTraffic> traffic(intf_id_t intf) override {
      auto const* const link = linkOf(intf);
      return link == nullptr ? std::nullopt : std::optional(trafficOf(*ports_, *link));
   }
   std::optional<nexthop_group_entry_counter_t> counter(std::string const& group, unsigned short entry) override {
      auto const counted = groups_.counted(group, entry);
      return nexthop_group_entry_counter_t(counted.packets, counted.octets);
   }
   std::string kernelName(intf_id_t intf) const override {
      auto const* const link = linkOf(intf);
      return link == nullptr ? std::string() : link->name;
   }
   intf_id_t intfOfKernelName(std::string const& name) const override { return settings_.adoption.intf(name); }
   void deviceIs(intf_id_t intf, std::string const& device) override;
   void vrfIs(intf_id_t intf, std::string const& vrf) override;

   void start() override;
   void stop() override;
   std::string describe() const override;

 private:
   Hops::Callbacks hopCallbacks();
   Groups::Callbacks groupCallbacks();
   Ports::Callbacks portCallbacks();
   Surroundings view() {
      return {.intfTowards = [this](auto const& vrf, auto const& address) { return connected_.towards(vrf, address); },
              .addressOf = [this](intf_id_t intf, af_t af) { return connected_.addressOf(intf, af); }};
   }
   /// Null where there is none now.
   netlink::Link const* linkOf(intf_id_t intf) const { return ports_ == nullptr ? nullptr : ports_->link(intf); }
   void demandNotStarted(intf_id_t intf) const;
   void networksChanged();
   void renew(std::string const& vrf, ip_prefix_t const& changed);
   void follow();
   void warn(std::string const& what, std::source_location where = std::source_location::current()) const {
      Pesko::fmtrace(*tracer_, 0, where.file_name(), where.function_name(), where.line(), "LinuxDataplane", "{}", what);
   }
   std::function<void(std::string const&)> warning() {
      return [this](std::string const& what) { warn(what); };
   }
   /// In start() reports are made at once, later by the loop.
   template <class Report>
   void report(Report&& report) {
      if (starting_) {
         report();
      } else {
         outside_.loop.post(std::forward<Report>(report));
      }
   }

   std::shared_ptr<Pesko::Platform::DebugHandler> const tracer_ = Pesko::Platform::getDebugHandler("Dataplane", false);
   embedded::DataplaneSurroundings const outside_;
   std::map<intf_id_t, std::string> devices_;  // given to interfaces whose device has another name
   PortSettings settings_;
   InstanceLock instance_;
   Program program_;
   KernelGrace grace_;
   GracePeriods periods_;
   trie::Memory memory_;
   RouteRoom room_;
   Vrfs vrfs_;
   Resolver resolver_;
   Hops hops_;
   Counters counters_;
   Exits exits_;
   BucketPool buckets_;
   Connected connected_;
   Groups groups_;
   Tunnels tunnels_;
   Leaves leaves_;
   Labels labels_;
   Resting rests_;
   GroupCarrier groupCarrier_;
   std::map<std::string, std::unique_ptr<RouteCarrier>, std::less<>> routeCarriers_;
   LabelCarrier labelCarrier_;
   VrfLabelCarrier vrfLabelCarrier_;
   TunnelCarrier tunnelCarrier_;
   Redirects::Rows redirectRows_;
   PolicyMapCarrier policyMapCarrier_;
   LockGate gate_;
   IntfCarrier intfCarrier_;
   IpIntfCarrier ipIntfCarrier_;
   Refusing<sbfd_echo_session_key_t, embedded::SbfdSession> noSbfd_{"sBFD sessions"};
   bool starting_ = false;
   std::unique_ptr<Ports> ports_;  // from start() to stop()
};

Hops::Callbacks LinuxDataplane::hopCallbacks() {
   return {.wanted = [this](auto const& neighbour) { resolver_.keep(neighbour); },
           .unwanted = [this](auto const& neighbour) { resolver_.release(neighbour); },
           .macOf = [this](auto const& neighbour) { return ports_ ? ports_->macOf(neighbour) : eth_addr_t(); },
           .usableChanged = [this](auto hop) { groups_.hopChanged(hop); }};
}

Groups::Callbacks LinuxDataplane::groupCallbacks() {
   auto& reports = outside_.groups;
   return {
      .programmed =
         [this, &reports](auto const& name, unsigned short version) {
            outside_.loop.post([&reports, name, version] { reports.groupProgrammed(name, version); });
         },
      .active =
         [this, &reports](auto const& name, bool active) {
            outside_.loop.post([&reports, name, active] { reports.groupActive(name, active); });
         },
      .gone = [this, &reports](auto const& name) { outside_.loop.post([&reports, name] { reports.groupGone(name); }); },
      .stuck = [this](auto const& name,
                      auto const& why) { warn(fmt::format("nexthop group {} stays as it was: {}", name, why)); }};
}

Ports::Callbacks LinuxDataplane::portCallbacks() {
   auto& ports = outside_.ports;
   auto& addresses = outside_.addresses;
   return {.policyOn = [this](intf_id_t intf) { return policyMapCarrier_.policyOn(intf); },
           .is =
              [this, &ports](intf_id_t intf, netlink::Link const& link) {
                 embedded::Intf now{.adminEnabled = link.adminUp,
                                    .link = link.operational ? oper_status_t::up : oper_status_t::down,
                                    .description = link.alias};
                 report([&ports, intf, now = std::move(now)] { ports.portIs(intf, now); });
              },
           .gone = [this, &ports](intf_id_t intf) { report([&ports, intf] { ports.portGone(intf); }); },
           .addresses =
              [this, &addresses](intf_id_t intf, Connected::Addresses const& now) {
                 report([&addresses, intf, all = std::set<ip_addr_mask_t>(now.begin(), now.end())] {
                    addresses.addressesAre(intf, all);
                 });
              },
           .forgotten = [this](auto const& neighbour) { resolver_.forgotten(neighbour); },
           .warn = warning()};
}

void LinuxDataplane::demandNotStarted(intf_id_t intf) const {
   if (ports_ == nullptr) return;
   throw unsupported_error(fmt::format(
      "{} is at work: its device and VRF are for the configuration with which the agent starts", intf.to_string()));
}

void LinuxDataplane::deviceIs(intf_id_t intf, std::string const& device) {
   demandNotStarted(intf);
   auto devices = devices_;
   devices[intf] = device;
   settings_.adoption = netlink::Adoption(devices);
   devices_ = std::move(devices);
}

void LinuxDataplane::vrfIs(intf_id_t intf, std::string const& vrf) {
   demandNotStarted(intf);
   settings_.vrfs[intf] = vrfNamed(vrf);
}

void LinuxDataplane::networksChanged() {
   groups_.networksChanged();
   for (auto const& [vrf, carrier] : routeCarriers_) carrier->renewAll();
   labelCarrier_.renewAll();
}

void LinuxDataplane::renew(std::string const& vrf, ip_prefix_t const& changed) {
   for (auto const& [name, carrier] : routeCarriers_) {
      if (vrfNamed(name) == vrf) carrier->renew(changed);
   }
   if (vrf.empty()) labelCarrier_.renew(changed);
}

void LinuxDataplane::start() {
   starting_ = true;
   ports_ = std::make_unique<Ports>(program_, hops_, connected_, vrfs_, settings_, portCallbacks());
   ports_->follow();
   for (auto const& intf : intfCarrier_.restored()) {
      if (ports_->link(intf) == nullptr) outside_.ports.portGone(intf);
   }
   starting_ = false;
   outside_.loop.watch(ports_->machine().fd(), [this] { follow(); });
}

void LinuxDataplane::stop() {
   resolver_.releaseAll();
   ports_.reset();
}

std::string LinuxDataplane::describe() const {
   std::size_t refusedRoutes = 0;
   for (auto const& [vrf, carrier] : routeCarriers_) refusedRoutes += carrier->refusedRows();
   return show({.program = program_,
                .memory = memory_,
                .vrfs = vrfs_,
                .labels = labels_,
                .groups = groups_,
                .ports = ports_.get(),
                .refusedRoutes = refusedRoutes,
                .refusedLabels = labelCarrier_.refusedRows() + vrfLabelCarrier_.refusedRows(),
                .refusedGroups = groupCarrier_.refusedGroups()});
}

void LinuxDataplane::follow() {
   try {
      if (ports_ != nullptr) ports_->follow();
   } catch (error const& e) {
      // There may be no notice more to bring us back here.
      constexpr std::chrono::seconds patience{1};
      warn(e.msg());
      outside_.loop.postAfter(patience, [this] { follow(); });
   }
}

}  // namespace

std::unique_ptr<embedded::Dataplane> makeLinuxDataplane(embedded::DataplaneSurroundings const& surroundings,
                                                        embedded::DataplaneCapacity const& capacity) {
   return std::make_unique<LinuxDataplane>(surroundings, capacity);
}

}  // namespace velm::machine
