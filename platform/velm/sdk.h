#pragma once

#include <memory>

namespace velm {

class acl_mgr;
class agent_mgr;
class bfd_session_mgr;
class bgp_path_mgr;
class class_map_mgr;
class eth_lag_intf_mgr;
class intf_counter_mgr;
class intf_mgr;
class ip_intf_mgr;
class ip_route_mgr;
class macsec_mgr;
class mpls_route_mgr;
class mpls_vrf_label_mgr;
class nexthop_group_mgr;
class nexthop_group_tunnel_mgr;
class policy_map_mgr;
class vapi_mgr;

namespace embedded {
class Switch;
}

/// The root of the SDK: the switch's managers and the main loop. One to a process. From its construction on SIGTERM and
/// SIGINT disable the agent in order, as soon as the main loop runs; a second one ends the process.
///
/// Managers live as long as the object; the pointers are never null and belong to it.
class sdk {
 public:
   sdk();
   ~sdk();
   sdk(sdk const&) = delete;
   sdk& operator=(sdk const&) = delete;

   acl_mgr* get_acl_mgr();
   agent_mgr* get_agent_mgr();
   bfd_session_mgr* get_bfd_session_mgr();
   bgp_path_mgr* get_bgp_path_mgr();
   class_map_mgr* get_class_map_mgr();
   vapi_mgr* get_vapi_mgr();
   eth_lag_intf_mgr* get_eth_lag_intf_mgr();
   intf_mgr* get_intf_mgr();
   intf_counter_mgr* get_intf_counter_mgr();
   ip_intf_mgr* get_ip_intf_mgr();
   ip_route_mgr* get_ip_route_mgr();
   macsec_mgr* get_macsec_mgr();
   mpls_route_mgr* get_mpls_route_mgr();
   mpls_vrf_label_mgr* get_mpls_vrf_label_mgr();
   nexthop_group_mgr* get_nexthop_group_mgr();
   nexthop_group_tunnel_mgr* get_nexthop_group_tunnel_mgr();
   policy_map_mgr* get_policy_map_mgr();

   /// Reads the options that the agent left, calls on_initialized and turns the event loop until the agent has been
   /// disabled and says that it has stopped. The arguments go by their count; no null pointer closes them. Ends the
   /// process itself for --help and --version, and with status 2 for anything it does not understand.
   ///
   /// The loop holds the SDK lock while it runs a callback or a task, not while it waits, and not across
   /// on_agent_enabled(false). An error that leaves a callback goes to the handler of exception_handler_is.
   void main_loop(int argc, char** argv);

 private:
   std::unique_ptr<embedded::Switch> switch_;
};

}  // namespace velm
