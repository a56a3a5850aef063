#include "bench/Routes.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::uint32_t tag = 7;
constexpr auto groupName = "group-1";

void setHost(pb::ip_prefix_msg& prefix, Place place, Family family = Family::ipv4) {
   bool const ipv4 = family == Family::ipv4;
   prefix.set_addr(ipv4 ? hostAddress(place)
                        : std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0", 12) + networkOrder(place));
   prefix.set_prefix_length(ipv4 ? 32 : 128);
}

std::string nexthopAddress() { return networkOrder(10U << 24U | 1U); }

void require(bool done, char const* what, google::protobuf::Message const& answer) {
   if (!done) throw std::runtime_error(std::string(what) + " failed: " + answer.ShortDebugString());
}

}  // namespace

IpRoutes::Element IpRoutes::add(Place place) const {
   auto route = removal(place);
   route.set_nexthop_group(groupName);
   return route;
}

IpRoutes::Element IpRoutes::removal(Place place) const {
   Element route;
   route.set_tag(tag);
   setHost(*route.mutable_prefix(), place, family);
   return route;
}

NhgTunnels::Element NhgTunnels::add(Place place) const {
   auto tunnel = removal(place);
   tunnel.set_nexthop_group(groupName);
   tunnel.set_igp_metric(10);
   return tunnel;
}

NhgTunnels::Element NhgTunnels::removal(Place place) const {
   Element tunnel;
   setHost(*tunnel.mutable_prefix(), place);
   return tunnel;
}

char const* MplsRoutes::name() const {
   switch (form) {
      case Form::group: return "labels to a group";
      case Form::nexthop: return "labels to a nexthop";
      case Form::vrf: return "labels to a VRF";
   }
   return "?";
}

MplsRoutes::Element MplsRoutes::add(Place place) const {
   Element route;
   route.set_label(reserved + place);
   switch (form) {
      case Form::group: {
         auto& forward = *route.mutable_forward_nexthop_group();
         forward.set_nexthop_group(groupName);
         forward.set_mpls_operation(pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_FORWARD);
         break;
      }
      case Form::nexthop: {
         auto& nexthop = *route.mutable_nexthop();
         nexthop.mutable_nexthop_ip()->set_addr(nexthopAddress());
         nexthop.set_nexthop_interface("Ethernet1");
         nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_SWAP);
         nexthop.add_labels(reserved);
         break;
      }
      case Form::vrf: route.set_pop_and_forward_vrf_name("vrf-1"); break;
   }
   return route;
}

MplsRoutes::Element MplsRoutes::removal(Place place) const {
   Element route;
   route.set_label(reserved + place);
   route.set_request_delete(true);
   return route;
}

pb::rpc_server_init_status_msg initSession(Server& agent, std::string const& policyMap) {
   grpc::ClientContext context;
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
   pb::rpc_server_init_status_msg opened;
   bool const answered = agent.stub().rpc_server_init(&context, config, &opened).ok();
   require(answered && opened.status().status() == pb::rpc_status_msg::STATUS_SUCCESS, "rpc_server_init", opened);
   return opened;
}

void openSession(Server& agent) {
   initSession(agent);
   grpc::ClientContext context;
   pb::nexthop_group_msg group;
   group.set_name(groupName);
   auto& nexthop = *group.add_nexthop();
   nexthop.mutable_nexthop_ip()->set_addr(nexthopAddress());
   nexthop.set_replicate_count(1);
   pb::rpc_status_msg made;
   bool const answered = agent.stub().nexthop_group(&context, group, &made).ok();
   require(answered && made.status() == pb::rpc_status_msg::STATUS_SUCCESS, "nexthop_group", made);
}

}  // namespace VelmSdkRpc::Bench
