#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <functional>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/switch/Switch.h"
#include "platform/velm/sdk.h"

namespace velm {
namespace {

ip_addr_t addr(char const* text) { return ip_addr_t(std::string(text)); }
ip_prefix_t prefix(char const* text) { return ip_prefix_t(std::string(text)); }
intf_id_t intf(char const* name) { return intf_id_t(std::string(name)); }

// What the rows below work on. The lambdas make a fresh one each, since the values have setters.
intf_id_t const port = intf("Ethernet1");
intf_id_t const member = intf("Ethernet2");
intf_id_t const lag = intf("Port-Channel1");
ip_addr_mask_t const own(addr("192.0.2.1"), 24);
ip_route_key_t const routeKey(prefix("10.0.0.0/8"));
mpls_route_key_t const mplsKey(mpls_label_t(100), 1);
policy_map_key_t const mapKey("m", policy_feature_t::pbr);
acl_key_t const aclKey("a", acl_type_t::ipv4);
sbfd_echo_session_key_t const sessionKey(addr("192.0.2.2"), port, {mpls_label_t(7)}, 1, 2);

ip_route_via_t routeVia(char const* group = "g") {
   ip_route_via_t via(routeKey);
   via.nexthop_group_is(group);
   return via;
}
mpls_route_via_t mplsVia(char const* group = "g") {
   mpls_route_via_t via(mplsKey, mpls_action_t::pop);
   via.nexthop_group_is(group);
   return via;
}
nexthop_group_t group(char const* name) {
   nexthop_group_t group(name, nexthop_group_encap_t::mpls);
   nexthop_group_entry_t entry(addr("192.0.2.2"));
   entry.intf_is(port);
   group.nexthop_set(1, entry);
   return group;
}
nexthop_group_tunnel_t tunnel(char const* endpoint) {
   nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(prefix(endpoint));
   tunnel.nhg_name_is("g");
   return tunnel;
}
policy_map_t policyMap(char const* name) {
   policy_map_key_t const key(name, policy_feature_t::pbr);
   policy_map_rule_t rule(key);
   rule.action_set(policy_map_action_t(policy_action_type_t::nexthop_group));
   policy_map_t map(key);
   map.rule_set(1, rule);
   return map;
}
class_map_t classMap(char const* name) {
   class_map_t map(policy_map_key_t(name, policy_feature_t::pbr));
   map.rule_set(1, class_map_rule_t(aclKey));
   return map;
}
macsec_profile_t profile(char const* name) {
   macsec_profile_t profile;
   profile.name_is(name);
   return profile;
}
bgp_path_key_t pathKey(char const* network) {
   bgp_path_key_t key;
   key.prefix_is(prefix(network));
   key.peer_addr_is(addr("192.0.2.9"));
   key.vrf_name_is("default");
   return key;
}

/// A manager's operation, called as its users call it; overloads have a row each.
struct Operation {
   char const* name;
   std::function<void(sdk&)> call;
};

// clang-format off
std::vector<Operation> const operations{
   {"acl_mgr.acl_exists", [](sdk& s) { s.get_acl_mgr()->acl_exists(aclKey); }},
   {"acl_mgr.acl_rule_set", [](sdk& s) { s.get_acl_mgr()->acl_rule_set(aclKey, 2, {}); }},
   {"acl_mgr.acl_rule_del", [](sdk& s) { s.get_acl_mgr()->acl_rule_del(aclKey, 1); }},
   {"acl_mgr.acl_rule_ip_iter", [](sdk& s) { s.get_acl_mgr()->acl_rule_ip_iter(aclKey); }},
   {"acl_mgr.acl_del", [](sdk& s) { s.get_acl_mgr()->acl_del(aclKey); }},
   {"acl_mgr.acl_commit", [](sdk& s) { s.get_acl_mgr()->acl_commit(); }},

   {"agent_mgr.agent_id", [](sdk& s) { s.get_agent_mgr()->agent_id(); }},
   {"agent_mgr.enabled", [](sdk& s) { s.get_agent_mgr()->enabled(); }},
   {"agent_mgr.agent_option", [](sdk& s) { s.get_agent_mgr()->agent_option("o"); }},
   {"agent_mgr.agent_option_exists", [](sdk& s) { s.get_agent_mgr()->agent_option_exists("o"); }},
   {"agent_mgr.agent_option_iter", [](sdk& s) { s.get_agent_mgr()->agent_option_iter(); }},
   {"agent_mgr.status", [](sdk& s) { s.get_agent_mgr()->status("s"); }},
   {"agent_mgr.status_iter", [](sdk& s) { s.get_agent_mgr()->status_iter(); }},
   {"agent_mgr.status_set", [](sdk& s) { s.get_agent_mgr()->status_set("s", "2"); }},
   {"agent_mgr.status_del", [](sdk& s) { s.get_agent_mgr()->status_del("s"); }},
   {"agent_mgr.agent_uptime", [](sdk& s) { s.get_agent_mgr()->agent_uptime(); }},
   {"agent_mgr.shutdown_complete_is", [](sdk& s) { s.get_agent_mgr()->shutdown_complete_is(false); }},

   {"bfd_session_mgr.sbfd_echo_session_iter", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_iter(); }},
   {"bfd_session_mgr.sbfd_echo_session_set", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_set(sessionKey); }},
   {"bfd_session_mgr.sbfd_echo_session_del", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_del(sessionKey); }},
   {"bfd_session_mgr.sbfd_echo_session_default_interval", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_default_interval(); }},
   {"bfd_session_mgr.sbfd_echo_session_interval_is", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_interval_is(sessionKey, {100, 5}); }},
   {"bfd_session_mgr.sbfd_echo_session_rtt_enabled_is", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_rtt_enabled_is(sessionKey, true); }},
   {"bfd_session_mgr.sbfd_echo_session_status", [](sdk& s) { s.get_bfd_session_mgr()->sbfd_echo_session_status(sessionKey); }},

   {"bgp_path_mgr.ipv4_unicast_path_iter", [](sdk& s) { s.get_bgp_path_mgr()->ipv4_unicast_path_iter({}); }},
   {"bgp_path_mgr.ipv6_unicast_path_iter", [](sdk& s) { s.get_bgp_path_mgr()->ipv6_unicast_path_iter({}); }},
   {"bgp_path_mgr.ipv4_unicast_path", [](sdk& s) { s.get_bgp_path_mgr()->ipv4_unicast_path(pathKey("10.0.0.0/8")); }},
   {"bgp_path_mgr.ipv6_unicast_path", [](sdk& s) { s.get_bgp_path_mgr()->ipv6_unicast_path(pathKey("2001:db8::/32")); }},
   {"bgp_path_mgr.ipv4_unicast_bgp_convergence", [](sdk& s) { s.get_bgp_path_mgr()->ipv4_unicast_bgp_convergence(); }},
   {"bgp_path_mgr.ipv6_unicast_bgp_convergence", [](sdk& s) { s.get_bgp_path_mgr()->ipv6_unicast_bgp_convergence(); }},

   {"class_map_mgr.exists", [](sdk& s) { s.get_class_map_mgr()->exists(mapKey); }},
   {"class_map_mgr.class_map", [](sdk& s) { s.get_class_map_mgr()->class_map(mapKey); }},
   {"class_map_mgr.class_map_is", [](sdk& s) { s.get_class_map_mgr()->class_map_is(classMap("n")); }},
   {"class_map_mgr.class_map_del", [](sdk& s) { s.get_class_map_mgr()->class_map_del(mapKey); }},

   {"eth_lag_intf_mgr.eth_lag_intf_iter", [](sdk& s) { s.get_eth_lag_intf_mgr()->eth_lag_intf_iter(); }},
   {"eth_lag_intf_mgr.exists", [](sdk& s) { s.get_eth_lag_intf_mgr()->exists(lag); }},
   {"eth_lag_intf_mgr.eth_lag_intf_member_iter", [](sdk& s) { s.get_eth_lag_intf_mgr()->eth_lag_intf_member_iter(lag); }},
   {"eth_lag_intf_mgr.eth_lag_intf_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->eth_lag_intf_is(intf("Port-Channel2")); }},
   {"eth_lag_intf_mgr.eth_lag_intf", [](sdk& s) { s.get_eth_lag_intf_mgr()->eth_lag_intf(lag); }},
   {"eth_lag_intf_mgr.eth_lag_intf_del", [](sdk& s) { s.get_eth_lag_intf_mgr()->eth_lag_intf_del(lag); }},
   {"eth_lag_intf_mgr.speed", [](sdk& s) { s.get_eth_lag_intf_mgr()->speed(lag); }},
   {"eth_lag_intf_mgr.min_links", [](sdk& s) { s.get_eth_lag_intf_mgr()->min_links(lag); }},
   {"eth_lag_intf_mgr.min_links_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->min_links_is(lag, 3); }},
   {"eth_lag_intf_mgr.fallback_type", [](sdk& s) { s.get_eth_lag_intf_mgr()->fallback_type(lag); }},
   {"eth_lag_intf_mgr.fallback_type_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->fallback_type_is(lag, eth_lag_intf_fallback_type_t::individual); }},
   {"eth_lag_intf_mgr.fallback_timeout", [](sdk& s) { s.get_eth_lag_intf_mgr()->fallback_timeout(lag); }},
   {"eth_lag_intf_mgr.fallback_timeout_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->fallback_timeout_is(lag, 7); }},
   {"eth_lag_intf_mgr.fallback_timeout_default", [](sdk& s) { s.get_eth_lag_intf_mgr()->fallback_timeout_default(lag); }},
   {"eth_lag_intf_mgr.membership_set", [](sdk& s) { s.get_eth_lag_intf_mgr()->membership_set(port, lag, eth_lag_intf_member_lacp_mode_t::active); }},
   {"eth_lag_intf_mgr.membership_del", [](sdk& s) { s.get_eth_lag_intf_mgr()->membership_del(member); }},
   {"eth_lag_intf_mgr.membership", [](sdk& s) { s.get_eth_lag_intf_mgr()->membership(member); }},
   {"eth_lag_intf_mgr.membership_status", [](sdk& s) { s.get_eth_lag_intf_mgr()->membership_status(member); }},
   {"eth_lag_intf_mgr.member_priority", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_priority(member); }},
   {"eth_lag_intf_mgr.member_priority_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_priority_is(member, 9); }},
   {"eth_lag_intf_mgr.member_mode", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_mode(member); }},
   {"eth_lag_intf_mgr.member_mode_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_mode_is(member, eth_lag_intf_member_lacp_mode_t::passive); }},
   {"eth_lag_intf_mgr.member_timeout", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_timeout(member); }},
   {"eth_lag_intf_mgr.member_timeout_is", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_timeout_is(member, eth_lag_intf_member_lacp_timeout_t::fast); }},
   {"eth_lag_intf_mgr.member_active", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_active(member); }},
   {"eth_lag_intf_mgr.member_time", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_time(member); }},
   {"eth_lag_intf_mgr.member_reason", [](sdk& s) { s.get_eth_lag_intf_mgr()->member_reason(member); }},

   {"intf_counter_mgr.intf_counters", [](sdk& s) { s.get_intf_counter_mgr()->intf_counters(port); }},
   {"intf_counter_mgr.intf_traffic_rates", [](sdk& s) { s.get_intf_counter_mgr()->intf_traffic_rates(port); }},

   {"intf_mgr.intf_iter", [](sdk& s) { s.get_intf_mgr()->intf_iter(); }},
   {"intf_mgr.exists", [](sdk& s) { s.get_intf_mgr()->exists(port); }},
   {"intf_mgr.kernel_intf_name", [](sdk& s) { s.get_intf_mgr()->kernel_intf_name(port); }},
   {"intf_mgr.velm_intf_name", [](sdk& s) { s.get_intf_mgr()->velm_intf_name("eth1"); }},
   {"intf_mgr.admin_enabled", [](sdk& s) { s.get_intf_mgr()->admin_enabled(port); }},
   {"intf_mgr.admin_enabled_is", [](sdk& s) { s.get_intf_mgr()->admin_enabled_is(port, false); }},
   {"intf_mgr.description", [](sdk& s) { s.get_intf_mgr()->description(port); }},
   {"intf_mgr.description_is", [](sdk& s) { s.get_intf_mgr()->description_is(port, "new"); }},
   {"intf_mgr.oper_status", [](sdk& s) { s.get_intf_mgr()->oper_status(port); }},

   {"ip_intf_mgr.exists", [](sdk& s) { s.get_ip_intf_mgr()->exists(port); }},
   {"ip_intf_mgr.ip_addrs", [](sdk& s) { s.get_ip_intf_mgr()->ip_addrs(port); }},
   {"ip_intf_mgr.ip_addrs_is", [](sdk& s) { s.get_ip_intf_mgr()->ip_addrs_is(port, {}); }},
   {"ip_intf_mgr.ip_addr_add", [](sdk& s) { s.get_ip_intf_mgr()->ip_addr_add(member, own); }},
   {"ip_intf_mgr.ip_addr_del", [](sdk& s) { s.get_ip_intf_mgr()->ip_addr_del(port, own); }},
   {"ip_intf_mgr.ip_addr_merge_mode", [](sdk& s) { s.get_ip_intf_mgr()->ip_addr_merge_mode(port); }},
   {"ip_intf_mgr.ip_addr_merge_mode_is", [](sdk& s) { s.get_ip_intf_mgr()->ip_addr_merge_mode_is(port, true); }},
   {"ip_intf_mgr.internal_vlan_id", [](sdk& s) { s.get_ip_intf_mgr()->internal_vlan_id(port); }},

   {"ip_route_mgr.tag", [](sdk& s) { s.get_ip_route_mgr()->tag(); }},
   {"ip_route_mgr.tag_is", [](sdk& s) { s.get_ip_route_mgr()->tag_is(7); }},
   {"ip_route_mgr.resync_init", [](sdk& s) { s.get_ip_route_mgr()->resync_init(); }},
   {"ip_route_mgr.resync_complete", [](sdk& s) { s.get_ip_route_mgr()->resync_complete(); }},
   {"ip_route_mgr.ip_route_iter", [](sdk& s) { s.get_ip_route_mgr()->ip_route_iter(); }},
   {"ip_route_mgr.ip_route_via_iter", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_iter(routeKey); }},
   {"ip_route_mgr.ip_route_via_iter", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_iter(routeKey, "red"); }},
   {"ip_route_mgr.exists", [](sdk& s) { s.get_ip_route_mgr()->exists(routeKey); }},
   {"ip_route_mgr.exists", [](sdk& s) { s.get_ip_route_mgr()->ip_route_exists(routeKey); }},
   {"ip_route_mgr.exists", [](sdk& s) { s.get_ip_route_mgr()->exists(routeKey, "red"); }},
   {"ip_route_mgr.exists", [](sdk& s) { s.get_ip_route_mgr()->exists(routeVia()); }},
   {"ip_route_mgr.exists", [](sdk& s) { s.get_ip_route_mgr()->exists(routeVia(), "red"); }},
   {"ip_route_mgr.ip_route", [](sdk& s) { s.get_ip_route_mgr()->ip_route(routeKey); }},
   {"ip_route_mgr.ip_route", [](sdk& s) { s.get_ip_route_mgr()->ip_route(routeKey, "red"); }},
   {"ip_route_mgr.ip_route_set", [](sdk& s) { s.get_ip_route_mgr()->ip_route_set(ip_route_t(ip_route_key_t(prefix("11.0.0.0/8")))); }},
   {"ip_route_mgr.ip_route_set", [](sdk& s) { s.get_ip_route_mgr()->ip_route_set(ip_route_t(routeKey), ip_route_action_t::drop); }},
   {"ip_route_mgr.ip_route_set", [](sdk& s) { s.get_ip_route_mgr()->ip_route_set(ip_route_t(routeKey), "blue"); }},
   {"ip_route_mgr.ip_route_del", [](sdk& s) { s.get_ip_route_mgr()->ip_route_del(routeKey); }},
   {"ip_route_mgr.ip_route_del", [](sdk& s) { s.get_ip_route_mgr()->ip_route_del(routeKey, "red"); }},
   {"ip_route_mgr.ip_route_via_set", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_set(routeVia("h")); }},
   {"ip_route_mgr.ip_route_via_set", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_set(routeVia("h"), "red"); }},
   {"ip_route_mgr.ip_route_via_del", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_del(routeVia()); }},
   {"ip_route_mgr.ip_route_via_del", [](sdk& s) { s.get_ip_route_mgr()->ip_route_via_del(routeVia(), "red"); }},

   {"macsec_mgr.macsec_profile_iter", [](sdk& s) { s.get_macsec_mgr()->macsec_profile_iter(); }},
   {"macsec_mgr.exists", [](sdk& s) { s.get_macsec_mgr()->exists("p"); }},
   {"macsec_mgr.profile", [](sdk& s) { s.get_macsec_mgr()->profile("p"); }},
   {"macsec_mgr.profile_set", [](sdk& s) { s.get_macsec_mgr()->profile_set(profile("q")); }},
   {"macsec_mgr.profile_del", [](sdk& s) { s.get_macsec_mgr()->profile_del("p"); }},
   {"macsec_mgr.intf_profile", [](sdk& s) { s.get_macsec_mgr()->intf_profile(port); }},
   {"macsec_mgr.intf_profile_is", [](sdk& s) { s.get_macsec_mgr()->intf_profile_is(member, "p"); }},
   {"macsec_mgr.macsec_capable", [](sdk& s) { s.get_macsec_mgr()->macsec_capable(port); }},
   {"macsec_mgr.macsec_intf_status_iter", [](sdk& s) { s.get_macsec_mgr()->macsec_intf_status_iter(); }},
   {"macsec_mgr.intf_status", [](sdk& s) { s.get_macsec_mgr()->intf_status(port); }},
   {"macsec_mgr.intf_counters", [](sdk& s) { s.get_macsec_mgr()->intf_counters(port); }},

   {"mpls_route_mgr.resync_init", [](sdk& s) { s.get_mpls_route_mgr()->resync_init(); }},
   {"mpls_route_mgr.resync_complete", [](sdk& s) { s.get_mpls_route_mgr()->resync_complete(); }},
   {"mpls_route_mgr.mpls_route_iter", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_iter(); }},
   {"mpls_route_mgr.mpls_route_status_iter", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_status_iter(); }},
   {"mpls_route_mgr.mpls_route_via_iter", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_via_iter(mplsKey); }},
   {"mpls_route_mgr.mpls_route_via_status_iter", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_via_status_iter(mplsKey); }},
   {"mpls_route_mgr.mpls_route_via_status_iter", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_via_status_iter(mpls_fec_id_t(1)); }},
   {"mpls_route_mgr.exists", [](sdk& s) { s.get_mpls_route_mgr()->exists(mplsKey); }},
   {"mpls_route_mgr.exists", [](sdk& s) { s.get_mpls_route_mgr()->exists(mplsVia()); }},
   {"mpls_route_mgr.mpls_route_set", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_set(mpls_route_t(mpls_route_key_t(mpls_label_t(200), 0))); }},
   {"mpls_route_mgr.mpls_route_del", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_del(mplsKey); }},
   {"mpls_route_mgr.mpls_route_via_set", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_via_set(mplsVia("h")); }},
   {"mpls_route_mgr.mpls_route_via_del", [](sdk& s) { s.get_mpls_route_mgr()->mpls_route_via_del(mplsVia()); }},
   {"mpls_route_mgr.fec_id", [](sdk& s) { s.get_mpls_route_mgr()->fec_id(mplsKey); }},
   {"mpls_route_mgr.metric", [](sdk& s) { s.get_mpls_route_mgr()->metric(mplsKey); }},

   {"mpls_vrf_label_mgr.resync_init", [](sdk& s) { s.get_mpls_vrf_label_mgr()->resync_init(); }},
   {"mpls_vrf_label_mgr.resync_complete", [](sdk& s) { s.get_mpls_vrf_label_mgr()->resync_complete(); }},
   {"mpls_vrf_label_mgr.mpls_vrf_label_iter", [](sdk& s) { s.get_mpls_vrf_label_mgr()->mpls_vrf_label_iter(); }},
   {"mpls_vrf_label_mgr.mpls_vrf_label", [](sdk& s) { s.get_mpls_vrf_label_mgr()->mpls_vrf_label(mpls_label_t(300)); }},
   {"mpls_vrf_label_mgr.mpls_vrf_label_set", [](sdk& s) { s.get_mpls_vrf_label_mgr()->mpls_vrf_label_set({mpls_label_t(301), "red"}); }},
   {"mpls_vrf_label_mgr.mpls_vrf_label_del", [](sdk& s) { s.get_mpls_vrf_label_mgr()->mpls_vrf_label_del(mpls_label_t(300)); }},

   {"nexthop_group_mgr.resync_init", [](sdk& s) { s.get_nexthop_group_mgr()->resync_init(); }},
   {"nexthop_group_mgr.resync_complete", [](sdk& s) { s.get_nexthop_group_mgr()->resync_complete(); }},
   {"nexthop_group_mgr.nexthop_group_iter", [](sdk& s) { s.get_nexthop_group_mgr()->nexthop_group_iter(); }},
   {"nexthop_group_mgr.programmed_nexthop_group_iter", [](sdk& s) { s.get_nexthop_group_mgr()->programmed_nexthop_group_iter(); }},
   {"nexthop_group_mgr.exists", [](sdk& s) { s.get_nexthop_group_mgr()->exists("g"); }},
   {"nexthop_group_mgr.nexthop_group", [](sdk& s) { s.get_nexthop_group_mgr()->nexthop_group("g"); }},
   {"nexthop_group_mgr.active", [](sdk& s) { s.get_nexthop_group_mgr()->active("g"); }},
   {"nexthop_group_mgr.programmed_nexthop_group", [](sdk& s) { s.get_nexthop_group_mgr()->programmed_nexthop_group("g"); }},
   {"nexthop_group_mgr.counter", [](sdk& s) { s.get_nexthop_group_mgr()->counter("g", 1); }},
   {"nexthop_group_mgr.nexthop_group_set", [](sdk& s) { s.get_nexthop_group_mgr()->nexthop_group_set(group("h")); }},
   {"nexthop_group_mgr.nexthop_group_del", [](sdk& s) { s.get_nexthop_group_mgr()->nexthop_group_del("g"); }},

   {"nexthop_group_tunnel_mgr.resync_init", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->resync_init(); }},
   {"nexthop_group_tunnel_mgr.resync_complete", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->resync_complete(); }},
   {"nexthop_group_tunnel_mgr.nexthop_group_tunnel_iter", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_iter(); }},
   {"nexthop_group_tunnel_mgr.exists", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->exists(prefix("10.1.0.0/16")); }},
   {"nexthop_group_tunnel_mgr.nexthop_group_tunnel", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel(prefix("10.1.0.0/16")); }},
   {"nexthop_group_tunnel_mgr.nexthop_group_tunnel_set", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_set(tunnel("10.2.0.0/16")); }},
   {"nexthop_group_tunnel_mgr.nexthop_group_tunnel_del", [](sdk& s) { s.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_del(prefix("10.1.0.0/16")); }},

   {"policy_map_mgr.resync_init", [](sdk& s) { s.get_policy_map_mgr()->resync_init(); }},
   {"policy_map_mgr.resync_complete", [](sdk& s) { s.get_policy_map_mgr()->resync_complete(); }},
   {"policy_map_mgr.exists", [](sdk& s) { s.get_policy_map_mgr()->exists(mapKey); }},
   {"policy_map_mgr.policy_map", [](sdk& s) { s.get_policy_map_mgr()->policy_map(mapKey); }},
   {"policy_map_mgr.policy_map_is", [](sdk& s) { s.get_policy_map_mgr()->policy_map_is(policyMap("n")); }},
   {"policy_map_mgr.policy_map_del", [](sdk& s) { s.get_policy_map_mgr()->policy_map_del(mapKey); }},
   {"policy_map_mgr.policy_map_iter", [](sdk& s) { s.get_policy_map_mgr()->policy_map_iter(); }},
   {"policy_map_mgr.policy_map_apply", [](sdk& s) { s.get_policy_map_mgr()->policy_map_apply(mapKey, port, acl_direction_t::in, true); }},
   {"policy_map_mgr.policy_map_hw_status_iter", [](sdk& s) { s.get_policy_map_mgr()->policy_map_hw_status_iter(); }},
   {"policy_map_mgr.hw_status", [](sdk& s) { s.get_policy_map_mgr()->hw_status(mapKey); }},

   {"vapi_mgr.run_show_cmd", [](sdk& s) { s.get_vapi_mgr()->run_show_cmd("show version"); }},
   {"vapi_mgr.run_config_cmds", [](sdk& s) { s.get_vapi_mgr()->run_config_cmds({}); }},
};
// clang-format on

// Gives every table something to lose.
void fill(sdk& s) {
   s.get_vapi_mgr()->run_config_cmds({"agent option o 1", "simulate bgp path 10.0.0.0/8 peer 192.0.2.9 vrf default",
                                      "simulate bgp path 2001:db8::/32 peer 192.0.2.9 vrf default"});
   s.get_agent_mgr()->status_set("s", "1");
   s.get_ip_intf_mgr()->ip_addr_add(port, own);
   s.get_eth_lag_intf_mgr()->eth_lag_intf_is(lag);
   s.get_eth_lag_intf_mgr()->membership_set(member, lag, eth_lag_intf_member_lacp_mode_t::on);
   s.get_macsec_mgr()->profile_set(profile("p"));
   s.get_macsec_mgr()->intf_profile_is(port, "p");
   s.get_nexthop_group_mgr()->nexthop_group_set(group("g"));
   s.get_nexthop_group_tunnel_mgr()->nexthop_group_tunnel_set(tunnel("10.1.0.0/16"));
   for (auto const* vrf : {"", "red"}) {
      s.get_ip_route_mgr()->ip_route_set(ip_route_t(routeKey), vrf);
      s.get_ip_route_mgr()->ip_route_via_set(routeVia(), vrf);
   }
   s.get_mpls_route_mgr()->mpls_route_set(mpls_route_t(mplsKey));
   s.get_mpls_route_mgr()->mpls_route_via_set(mplsVia());
   s.get_mpls_vrf_label_mgr()->mpls_vrf_label_set({mpls_label_t(300), "red"});
   s.get_acl_mgr()->acl_rule_set(aclKey, 1, {});
   s.get_acl_mgr()->acl_commit();
   s.get_acl_mgr()->acl_rule_set(aclKey, 3, {});
   s.get_class_map_mgr()->class_map_is(classMap("m"));
   s.get_policy_map_mgr()->policy_map_is(policyMap("m"));
   s.get_bfd_session_mgr()->sbfd_echo_session_set(sessionKey);
   s.get_ip_route_mgr()->resync_init();  // so that its end has something to purge
   s.get_nexthop_group_mgr()->resync_init();
}

std::string state(sdk& s) {
   std::string all;
   for (auto const* command :
        {"show interfaces", "show ip route", "show ip route vrf red", "show ip route vrf blue", "show mpls route",
         "show nexthop-group", "show nexthop-group tunnel", "show sbfd echo", "show acl", "show class-map",
         "show policy-map", "show macsec", "show port-channel", "show bgp path", "show agent"}) {
      auto const response = s.get_vapi_mgr()->run_show_cmd(command);
      EXPECT_TRUE(response.success()) << response.error_message();
      all += response.raw_response().substr(0, response.raw_response().find("\"uptime\"")) + '\n';
   }
   return all;
}

struct ErrorClass {
   char const* name;
   std::type_info const& type;
};
std::vector<ErrorClass> const errorClasses{{"error", typeid(error)},
                                           {"invalid_argument_error", typeid(invalid_argument_error)},
                                           {"invalid_range_error", typeid(invalid_range_error)},
                                           {"configuration_error", typeid(configuration_error)},
                                           {"unconfigured_agent_error", typeid(unconfigured_agent_error)},
                                           {"unsupported_error", typeid(unsupported_error)},
                                           {"no_scoped_lock_obtained_error", typeid(no_scoped_lock_obtained_error)}};

std::uint64_t callsOf(sdk& s, char const* operation) {
   rapidjson::Document json;
   json.Parse(s.get_vapi_mgr()->run_show_cmd("show switch calls").responses().front().c_str());
   return json["calls"].HasMember(operation) ? json["calls"][operation].GetUint64() : 0;
}

void expectFault(sdk& s, Operation const& operation, ErrorClass const& errorClass) {
   auto const text = std::string("told to be ") + errorClass.name;
   auto const command = "simulate fail " + std::string(operation.name) + ' ' + errorClass.name + " \"" + text + '"';
   ASSERT_TRUE(s.get_vapi_mgr()->run_config_cmds({command}).success()) << command;
   try {
      operation.call(s);
      ADD_FAILURE() << "no " << errorClass.name;
   } catch (error const& e) {
      EXPECT_TRUE(typeid(e) == errorClass.type) << typeid(e).name() << ", not " << errorClass.name;
      EXPECT_EQ(e.what(), text);
   }
}

TEST(OperationsTest, EachCountsOnceAndFailsAsToldWithoutEffect) {
   for (auto const& operation : operations) {
      SCOPED_TRACE(operation.name);
      sdk s;
      fill(s);
      bool const ofTheCommandLine = std::string_view(operation.name).starts_with("vapi_mgr.");
      auto const before = state(s);
      auto const callsBefore = callsOf(s, operation.name);
      for (auto const& errorClass : errorClasses) expectFault(s, operation, errorClass);
      EXPECT_EQ(state(s), before);
      try {
         operation.call(s);
      } catch (error const& e) {
         EXPECT_STREQ(e.what(), "no such programmed nexthop group g");  // the loop that would program it stands still
      }
      auto const calls = callsOf(s, operation.name) - callsBefore;
      EXPECT_TRUE(ofTheCommandLine || calls == errorClasses.size() + 1) << calls;
   }
}

TEST(OperationsTest, NoneIsLeftOut) {
   std::set<std::string_view> called;
   for (auto const& operation : operations) called.insert(operation.name);
   embedded::Switch const device;
   EXPECT_THAT(device.ledger.operations(), ::testing::UnorderedElementsAreArray(called));
}

}  // namespace
}  // namespace velm
