#include "clients/demo/Resync.h"

#include "clients/demo/Checks.h"

namespace VelmSdkRpc::demo {

void repeat(Controller& controller, Plan const& plan) {
   expectSuccess(controller.setGroups(plan.groups), plan.groups.size(), "nexthop_group_bulk in the resync");
   expectSuccess(controller.setRoutes(plan.routes), plan.routes.size(), "ip_route_bulk in the resync");
   expectSuccess(controller.setLabels(plan.labels), plan.labels.size(), "mpls_route_bulk in the resync");
   expectSuccess(controller.setTunnels(plan.tunnels), plan.tunnels.size(), "nexthop_group_tunnel_bulk in the resync");
   expectSuccess(controller.setRedirects(plan.redirects), plan.redirects.size(),
                 "cbf_nexthop_group_redirect_bulk in the resync");
   expectSuccess(controller.setSessions(plan.sessions), plan.sessions.size(), "sbfd_echo_session_bulk in the resync");
}

}  // namespace VelmSdkRpc::demo
