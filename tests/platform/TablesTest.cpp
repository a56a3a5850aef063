#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/velm/format.h"
#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Texts = std::vector<std::string>;

ip_prefix_t network(int i) { return ip_prefix_t(fmt::format("10.{}.0.0/16", i)); }
ip_addr_t host(int i) { return ip_addr_t(fmt::format("192.0.2.{}", i)); }
intf_id_t port(int i) { return intf_id_t(fmt::format("Ethernet{}", i)); }
intf_id_t lag(int i) { return intf_id_t(fmt::format("Port-Channel{}", i)); }
mpls_route_key_t label(int i) { return {mpls_label_t(static_cast<std::uint32_t>(i)), 0}; }
std::string name(int i) { return fmt::format("n{}", i); }
policy_map_key_t mapKey(int i) { return {name(i), policy_feature_t::pbr}; }
sbfd_echo_session_key_t session(int i) { return {host(i), port(1), {}, 0, 0}; }

ip_route_via_t routeVia(int i) {
   ip_route_via_t via{ip_route_key_t(network(0))};
   via.hop_is(host(i));
   return via;
}
mpls_route_via_t mplsVia(int i) {
   mpls_route_via_t via(label(0));
   via.hop_is(host(i));
   return via;
}

/// Writes down every event of the tables that it was told to watch.
struct Recorder : mpls_route_handler,
                  nexthop_group_handler,
                  policy_map_handler,
                  bgp_path_handler,
                  intf_handler,
                  eth_lag_intf_handler {
   explicit Recorder(Switch& device)
      : mpls_route_handler(&device.mplsRoutes),
        nexthop_group_handler(&device.nexthopGroups),
        policy_map_handler(&device.policyMaps),
        bgp_path_handler(&device.bgpPaths),
        intf_handler(&device.intfs),
        eth_lag_intf_handler(&device.ethLagIntfs) {}

   void on_mpls_route_set(mpls_route_key_t const& key, mpls_fec_id_t) override { note("set", key.to_string()); }
   void on_mpls_route_del(mpls_route_key_t const& key) override { note("del", key.to_string()); }
   void on_nexthop_group_programmed(std::string const& group, unsigned short version) override {
      note(fmt::format("programmed {}", version), group);
   }
   void on_nexthop_group_active(std::string const& group, bool on) override { note(on ? "active" : "idle", group); }
   void on_policy_map_config_set(policy_map_key_t const& key) override { note("config-set", key.name()); }
   void on_policy_map_sync(policy_map_key_t const& key) override { note("sync", key.name()); }
   void on_ipv4_unicast_path(bgp_path_key_t const& key) override { note("path", key.prefix().to_string()); }
   void on_intf_create(intf_id_t intf) override { note("create", intf.to_string()); }
   void on_intf_delete(intf_id_t intf) override { note("delete", intf.to_string()); }
   void on_eth_lag_intf_create(intf_id_t intf) override { note("create", intf.to_string()); }
   void on_eth_lag_intf_delete(intf_id_t intf) override { note("delete", intf.to_string()); }

   void note(std::string const& what, std::string const& key) { events.push_back(what + ' ' + key); }

   Texts events;
};

using Step = std::function<std::optional<std::string>()>;

// The steps of an iterator, each the text of an element.
template <class It, class Text>
Step stepsOf(It it, Text text) {
   return [it, text, moved = false]() mutable -> std::optional<std::string> {
      if (moved) ++it;
      moved = true;
      return it ? std::optional(text(*it)) : std::nullopt;
   };
}
auto const asItIs = [](auto const& element) { return fmt::format("{}", element); };
auto const toString = [](auto const& element) { return element.to_string(); };

/// What all tables have in common, each in its own words: element i can be set, deleted and met by a walk.
struct Subject {
   char const* title;
   std::function<void(Switch&)> prepare;
   std::function<void(Switch&, int i)> set;
   std::function<void(Switch&, int i)> del;
   std::function<Step(Switch&)> walk;
   std::function<std::string(int i)> text;
   bool stored = true;
   std::function<void(Switch&)> resyncInit{};      // none for tables without
   std::function<void(Switch&)> resyncComplete{};  // the same
   std::function<void(Recorder&, bool on)> watch{};
   Texts events{};  // of: set 5, set 6, delete 5
};

void PrintTo(Subject const& subject, std::ostream* out) { *out << subject.title; }

void command(Switch& device, std::string const& text) {
   auto const response = device.vapi.run_config_cmds({text});
   ASSERT_TRUE(response.success()) << response.error_message();
}
void nothing(Switch&) {}

template <class Mgr>
std::function<void(Switch&)> init(Mgr Switch::*mgr) {
   return [mgr](Switch& device) { (device.*mgr).resync_init(); };
}
template <class Mgr>
std::function<void(Switch&)> complete(Mgr Switch::*mgr) {
   return [mgr](Switch& device) { (device.*mgr).resync_complete(); };
}

std::vector<Subject> subjects() {
   return {
      {.title = "Interfaces",
       .prepare = nothing,
       .set = [](Switch& d, int i) { command(d, fmt::format("interface Loopback{}", i)); },
       .del = [](Switch& d, int i) { command(d, fmt::format("no interface Loopback{}", i)); },
       .walk =
          [](Switch& d) {
             auto steps = stepsOf(d.intfs.intf_iter(), toString);
             return Step([steps] {
                auto step = steps();
                while (step && !step->starts_with("Loopback")) step = steps();
                return step;
             });
          },
       .text = [](int i) { return fmt::format("Loopback{}", i); },
       .watch = [](Recorder& r, bool on) { r.watch_all_intfs(on); },
       .events = {"create Loopback5", "create Loopback6", "delete Loopback5"}},
      {.title = "Lags",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.ethLagIntfs.eth_lag_intf_is(lag(i)); },
       .del = [](Switch& d, int i) { d.ethLagIntfs.eth_lag_intf_del(lag(i)); },
       .walk = [](Switch& d) { return stepsOf(d.ethLagIntfs.eth_lag_intf_iter(), toString); },
       .text = [](int i) { return lag(i).to_string(); },
       .watch = [](Recorder& r, bool on) { r.watch_all_eth_lag_intfs(on); },
       .events = {"create Port-Channel5", "create Port-Channel6", "delete Port-Channel5"}},
      {.title = "LagMembers",
       .prepare = [](Switch& d) { d.ethLagIntfs.eth_lag_intf_is(lag(1)); },
       .set = [](Switch& d,
                 int i) { d.ethLagIntfs.membership_set(port(i), lag(1), eth_lag_intf_member_lacp_mode_t::on); },
       .del = [](Switch& d, int i) { d.ethLagIntfs.membership_del(port(i)); },
       .walk = [](Switch& d) { return stepsOf(d.ethLagIntfs.eth_lag_intf_member_iter(lag(1)), toString); },
       .text = [](int i) { return port(i).to_string(); }},
      {.title = "MacsecProfiles",
       .prepare = nothing,
       .set =
          [](Switch& d, int i) {
             macsec_profile_t profile;
             profile.name_is(name(i));
             d.macsec.profile_set(profile);
          },
       .del = [](Switch& d, int i) { d.macsec.profile_del(name(i)); },
       .walk = [](Switch& d) { return stepsOf(d.macsec.macsec_profile_iter(), asItIs); },
       .text = name},
      {.title = "MacsecStatuses",
       .prepare =
          [](Switch& d) {
             macsec_profile_t profile;
             profile.name_is("p");
             d.macsec.profile_set(profile);
          },
       .set = [](Switch& d, int i) { d.macsec.intf_profile_is(port(i), "p"); },
       .del = [](Switch& d, int i) { d.macsec.intf_profile_is(port(i), ""); },
       .walk = [](Switch& d) { return stepsOf(d.macsec.macsec_intf_status_iter(), toString); },
       .text = [](int i) { return port(i).to_string(); }},
      {.title = "AgentOptions",
       .prepare = nothing,
       .set = [](Switch& d, int i) { command(d, "agent option " + name(i) + " v"); },
       .del = [](Switch& d, int i) { command(d, "no agent option " + name(i)); },
       .walk = [](Switch& d) { return stepsOf(d.agent.agent_option_iter(), asItIs); },
       .text = name},
      {.title = "AgentStatuses",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.agent.status_set(name(i), "v"); },
       .del = [](Switch& d, int i) { d.agent.status_del(name(i)); },
       .walk = [](Switch& d) { return stepsOf(d.agent.status_iter(), asItIs); },
       .text = name},
      {.title = "IpRoutes",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.ipRoutes.ip_route_set(ip_route_t(ip_route_key_t(network(i)))); },
       .del = [](Switch& d, int i) { d.ipRoutes.ip_route_del(ip_route_key_t(network(i))); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.ipRoutes.ip_route_iter(),
                            [](ip_route_t const& route) { return route.key().prefix().to_string(); });
          },
       .text = [](int i) { return network(i).to_string(); },
       .resyncInit = init(&Switch::ipRoutes),
       .resyncComplete = complete(&Switch::ipRoutes)},
      {.title = "IpRouteVias",
       .prepare = [](Switch& d) { d.ipRoutes.ip_route_set(ip_route_t(ip_route_key_t(network(0)))); },
       .set = [](Switch& d, int i) { d.ipRoutes.ip_route_via_set(routeVia(i)); },
       .del = [](Switch& d, int i) { d.ipRoutes.ip_route_via_del(routeVia(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.ipRoutes.ip_route_via_iter(ip_route_key_t(network(0))),
                            [](ip_route_via_t const& via) { return via.hop().to_string(); });
          },
       .text = [](int i) { return host(i).to_string(); },
       .resyncInit =
          [](Switch& d) {
             d.ipRoutes.resync_init();
             d.ipRoutes.ip_route_set(ip_route_t(ip_route_key_t(network(0))));
          },
       .resyncComplete = complete(&Switch::ipRoutes)},
      {.title = "MplsRoutes",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.mplsRoutes.mpls_route_set(mpls_route_t(label(i))); },
       .del = [](Switch& d, int i) { d.mplsRoutes.mpls_route_del(label(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.mplsRoutes.mpls_route_iter(),
                            [](mpls_route_t const& route) { return route.key().to_string(); });
          },
       .text = [](int i) { return label(i).to_string(); },
       .resyncInit = init(&Switch::mplsRoutes),
       .resyncComplete = complete(&Switch::mplsRoutes),
       .watch = [](Recorder& r, bool on) { r.watch_all_mpls_routes(on); },
       .events = {"set " + label(5).to_string(), "set " + label(6).to_string(), "del " + label(5).to_string()}},
      {.title = "MplsRouteVias",
       .prepare = [](Switch& d) { d.mplsRoutes.mpls_route_set(mpls_route_t(label(0))); },
       .set = [](Switch& d, int i) { d.mplsRoutes.mpls_route_via_set(mplsVia(i)); },
       .del = [](Switch& d, int i) { d.mplsRoutes.mpls_route_via_del(mplsVia(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.mplsRoutes.mpls_route_via_iter(label(0)),
                            [](mpls_route_via_t const& via) { return via.hop().to_string(); });
          },
       .text = [](int i) { return host(i).to_string(); },
       .resyncInit =
          [](Switch& d) {
             d.mplsRoutes.resync_init();
             d.mplsRoutes.mpls_route_set(mpls_route_t(label(0)));
          },
       .resyncComplete = complete(&Switch::mplsRoutes)},
      {.title = "MplsVrfLabels",
       .prepare = nothing,
       .set =
          [](Switch& d, int i) {
             d.mplsVrfLabels.mpls_vrf_label_set({label(i).labels().front(), "red"});
          },
       .del = [](Switch& d, int i) { d.mplsVrfLabels.mpls_vrf_label_del(label(i).labels().front()); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.mplsVrfLabels.mpls_vrf_label_iter(),
                            [](mpls_vrf_label_t const& entry) { return std::to_string(entry.label().label()); });
          },
       .text = [](int i) { return std::to_string(i); },
       .resyncInit = init(&Switch::mplsVrfLabels),
       .resyncComplete = complete(&Switch::mplsVrfLabels)},
      {.title = "NexthopGroups",
       .prepare = nothing,
       .set =
          [](Switch& d, int i) {
             d.nexthopGroups.nexthop_group_set({name(i), nexthop_group_encap_t::mpls});
          },
       .del = [](Switch& d, int i) { d.nexthopGroups.nexthop_group_del(name(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.nexthopGroups.nexthop_group_iter(),
                            [](nexthop_group_t const& group) { return group.name(); });
          },
       .text = name,
       .resyncInit = init(&Switch::nexthopGroups),
       .resyncComplete = complete(&Switch::nexthopGroups),
       .watch = [](Recorder& r, bool on) { r.watch_all_nexthop_groups(on); },
       .events = {"programmed 1 n5", "programmed 1 n6"}},
      {.title = "Tunnels",
       .prepare = nothing,
       .set =
          [](Switch& d, int i) {
             nexthop_group_tunnel_t tunnel;
             tunnel.tunnel_endpoint_is(network(i));
             d.nexthopGroupTunnels.nexthop_group_tunnel_set(tunnel);
          },
       .del = [](Switch& d, int i) { d.nexthopGroupTunnels.nexthop_group_tunnel_del(network(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.nexthopGroupTunnels.nexthop_group_tunnel_iter(),
                            [](nexthop_group_tunnel_t const& t) { return t.tunnel_endpoint().to_string(); });
          },
       .text = [](int i) { return network(i).to_string(); },
       .resyncInit = init(&Switch::nexthopGroupTunnels),
       .resyncComplete = complete(&Switch::nexthopGroupTunnels)},
      {.title = "PolicyMaps",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.policyMaps.policy_map_is(policy_map_t(mapKey(i))); },
       .del = [](Switch& d, int i) { d.policyMaps.policy_map_del(mapKey(i)); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.policyMaps.policy_map_iter(), [](policy_map_key_t const& key) { return key.name(); });
          },
       .text = name,
       .resyncInit = init(&Switch::policyMaps),
       .resyncComplete = complete(&Switch::policyMaps),
       .watch = [](Recorder& r, bool on) { r.watch_all_policy_maps(on); },
       .events = {"config-set n5", "sync n5", "config-set n6", "sync n6"}},
      {.title = "AclRules",
       .prepare = nothing,
       .set =
          [](Switch& d, int i) {
             d.acls.acl_rule_set({"a", acl_type_t::ipv4}, static_cast<unsigned>(i), {});
             d.acls.acl_commit();
          },
       .del =
          [](Switch& d, int i) {
             d.acls.acl_rule_del({"a", acl_type_t::ipv4}, static_cast<unsigned>(i));
             d.acls.acl_commit();
          },
       .walk =
          [](Switch& d) {
             return stepsOf(d.acls.acl_rule_ip_iter({"a", acl_type_t::ipv4}),
                            [](auto const& rule) { return std::to_string(rule.first); });
          },
       .text = [](int i) { return std::to_string(i); }},
      {.title = "SbfdSessions",
       .prepare = nothing,
       .set = [](Switch& d, int i) { d.bfdSessions.sbfd_echo_session_set(session(i)); },
       .del = [](Switch& d, int i) { d.bfdSessions.sbfd_echo_session_del(session(i)); },
       .walk = [](Switch& d) { return stepsOf(d.bfdSessions.sbfd_echo_session_iter(), toString); },
       .text = [](int i) { return session(i).to_string(); }},
      {.title = "BgpPaths",
       .prepare = nothing,
       .set = [](Switch& d,
                 int i) { command(d, fmt::format("simulate bgp path {} peer 192.0.2.1 vrf v", network(i))); },
       .del = [](Switch& d,
                 int i) { command(d, fmt::format("simulate no bgp path {} peer 192.0.2.1 vrf v", network(i))); },
       .walk =
          [](Switch& d) {
             return stepsOf(d.bgpPaths.ipv4_unicast_path_iter({}),
                            [](bgp_path_t const& path) { return path.path_key().prefix().to_string(); });
          },
       .text = [](int i) { return network(i).to_string(); },
       .stored = false,
       .watch = [](Recorder& r, bool on) { r.watch_all_paths(on); },
       .events = {"path 10.5.0.0/16", "path 10.6.0.0/16", "path 10.5.0.0/16"}},
   };
}

class TablesTest : public SwitchTest, public ::testing::WithParamInterface<Subject> {
 protected:
   TablesTest() { subject.prepare(device); }

   void set(int first, int last) {
      for (int i = first; i <= last; ++i) subject.set(device, i);
   }
   Texts rest(Step const& walk) {
      Texts texts;
      for (auto text = walk(); text; text = walk()) texts.push_back(*text);
      return texts;
   }
   Texts held() { return rest(subject.walk(device)); }
   Texts texts(std::vector<int> const& elements) {
      Texts texts;
      for (int const i : elements) texts.push_back(subject.text(i));
      return texts;
   }

   Subject const subject = GetParam();
};

TEST_P(TablesTest, AWalkMeetsEveryLastingElementOnceWhateverHappensToTheOthers) {
   set(2, 8);
   auto const walk = subject.walk(device);
   EXPECT_EQ(walk(), subject.text(2));
   subject.del(device, 2);  // the one under the walk
   EXPECT_EQ(walk(), subject.text(3));
   subject.del(device, 4);  // the next one
   EXPECT_EQ(walk(), subject.text(5));
   subject.set(device, 6);  // once more
   subject.del(device, 3);  // one behind it
   EXPECT_THAT(rest(walk), ElementsAreArray(texts({6, 7, 8})));
   EXPECT_EQ(walk(), std::nullopt);
   subject.del(device, 1);  // what is not there can be deleted
   for (int i = 2; i <= 8; ++i) subject.del(device, i);
   EXPECT_THAT(held(), IsEmpty());
}

class ResyncedTablesTest : public TablesTest {};
TEST_P(ResyncedTablesTest, AResyncTakesWhatWasNotRepeated) {
   set(1, 4);
   subject.resyncInit(device);
   subject.set(device, 2);
   EXPECT_THAT(held(), ElementsAreArray(texts({1, 2, 3, 4})));
   subject.resyncInit(device);  // marks anew
   subject.set(device, 3);
   subject.set(device, 5);
   subject.resyncComplete(device);
   EXPECT_THAT(held(), ElementsAreArray(texts({3, 5})));
   subject.resyncComplete(device);
   EXPECT_THAT(held(), ElementsAreArray(texts({3, 5})));
}

class WatchedTablesTest : public TablesTest {};
TEST_P(WatchedTablesTest, EventsComeOnceInOrderAndOnlyWhereWatched) {
   Recorder watching(device);
   Recorder blind(device);
   Recorder leaving(device);
   subject.watch(watching, true);
   subject.watch(leaving, true);
   subject.watch(leaving, false);
   set(5, 6);
   subject.del(device, 5);
   EXPECT_THAT(watching.events, IsEmpty());  // not inside the call
   deliver();
   EXPECT_EQ(watching.events, subject.events);
   EXPECT_THAT(blind.events, IsEmpty());
   EXPECT_THAT(leaving.events, IsEmpty());
}

TEST_P(TablesTest, AStateFolderBringsItBackAsItWas) {
   std::string pattern = std::filesystem::temp_directory_path() / "tables-XXXXXX";
   std::string const top = mkdtemp(pattern.data());
   Texts before;
   {
      Switch first;
      first.stateIs(top + "/state");
      subject.prepare(first);
      for (int i = 1; i <= 12; ++i) subject.set(first, i);
      subject.del(first, 4);
      before = rest(subject.walk(first));
      EXPECT_EQ(before.size(), 11);
   }
   Switch second;
   second.stateIs(top + "/state");
   auto const after = rest(subject.walk(second));
   std::filesystem::remove_all(top);
   EXPECT_EQ(after, subject.stored ? before : Texts());
}

template <class Member>
std::vector<Subject> subjectsWith(Member Subject::*member) {
   auto some = subjects();
   std::erase_if(some, [&](Subject const& subject) { return !(subject.*member); });
   return some;
}
auto const titleOf = [](auto const& info) { return info.param.title; };

INSTANTIATE_TEST_SUITE_P(All, TablesTest, ::testing::ValuesIn(subjects()), titleOf);
INSTANTIATE_TEST_SUITE_P(All, ResyncedTablesTest, ::testing::ValuesIn(subjectsWith(&Subject::resyncInit)), titleOf);
INSTANTIATE_TEST_SUITE_P(All, WatchedTablesTest, ::testing::ValuesIn(subjectsWith(&Subject::watch)), titleOf);

}  // namespace
}  // namespace velm::embedded
