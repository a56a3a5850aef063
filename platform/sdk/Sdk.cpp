#include "platform/velm/sdk.h"

#include "platform/sdk/Dataplanes.h"
#include "platform/switch/Options.h"
#include "platform/switch/Switch.h"

// The one place where the SDK's abstract surface meets the switch that carries it out, and the switch its dataplane.
// Managers live as long as the sdk object, so pointers to them never need to be checked or given back; the dataplane
// comes with the options.
namespace velm {

sdk::sdk() : switch_(std::make_unique<embedded::Switch>()) {}
sdk::~sdk() = default;

acl_mgr* sdk::get_acl_mgr() { return &switch_->acls; }
agent_mgr* sdk::get_agent_mgr() { return &switch_->agent; }
bfd_session_mgr* sdk::get_bfd_session_mgr() { return &switch_->bfdSessions; }
bgp_path_mgr* sdk::get_bgp_path_mgr() { return &switch_->bgpPaths; }
class_map_mgr* sdk::get_class_map_mgr() { return &switch_->classMaps; }
vapi_mgr* sdk::get_vapi_mgr() { return &switch_->vapi; }
eth_lag_intf_mgr* sdk::get_eth_lag_intf_mgr() { return &switch_->ethLagIntfs; }
intf_mgr* sdk::get_intf_mgr() { return &switch_->intfs; }
intf_counter_mgr* sdk::get_intf_counter_mgr() { return &switch_->intfCounters; }
ip_intf_mgr* sdk::get_ip_intf_mgr() { return &switch_->ipIntfs; }
ip_route_mgr* sdk::get_ip_route_mgr() { return &switch_->ipRoutes; }
macsec_mgr* sdk::get_macsec_mgr() { return &switch_->macsec; }
mpls_route_mgr* sdk::get_mpls_route_mgr() { return &switch_->mplsRoutes; }
mpls_vrf_label_mgr* sdk::get_mpls_vrf_label_mgr() { return &switch_->mplsVrfLabels; }
nexthop_group_mgr* sdk::get_nexthop_group_mgr() { return &switch_->nexthopGroups; }
nexthop_group_tunnel_mgr* sdk::get_nexthop_group_tunnel_mgr() { return &switch_->nexthopGroupTunnels; }
policy_map_mgr* sdk::get_policy_map_mgr() { return &switch_->policyMaps; }

void sdk::main_loop(int argc, char** argv) {
   auto const options = embedded::readOptions(argc, argv);
   embedded::applyOptions(options, embedded::dataplaneOf(options), *switch_);
   switch_->run();
}

}  // namespace velm
