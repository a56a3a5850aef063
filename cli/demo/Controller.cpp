#include "cli/demo/Controller.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include "cli/demo/Call.h"

namespace VelmSdkRpc::demo {
namespace {

using Stub = pb::velmsdk_service::Stub;

// The address in network order: 4 bytes or 16.
std::string addressBytes(std::string const& text) {
   bool const v6 = text.find(':') != std::string::npos;
   std::array<char, sizeof(in6_addr)> bytes{};
   if (inet_pton(v6 ? AF_INET6 : AF_INET, text.c_str(), bytes.data()) != 1) {
      throw std::invalid_argument("not an IP address: " + text);
   }
   return {bytes.data(), v6 ? sizeof(in6_addr) : sizeof(in_addr)};
}

pb::ip_prefix_msg prefixMessage(std::string const& text) {
   auto const slash = text.find('/');
   auto const* const end = text.data() + text.size();
   std::uint32_t length = 0;
   if (slash == std::string::npos || std::from_chars(text.data() + slash + 1, end, length).ptr != end) {
      throw std::invalid_argument("not an IP prefix: " + text);
   }
   pb::ip_prefix_msg message;
   message.set_addr(addressBytes(text.substr(0, slash)));
   message.set_prefix_length(length);
   return message;
}

void fill(pb::ip_route_msg& message, Route const& route) {
   *message.mutable_prefix() = prefixMessage(route.prefix);
   message.set_nexthop_group(route.group);
   message.set_tag(route.tag);
}

void fill(pb::nexthop_group_msg& message, Group const& group) {
   message.set_name(group.name);
   for (auto const& hop : group.hops) {
      auto& nexthop = *message.add_nexthop();
      nexthop.mutable_nexthop_ip()->set_addr(addressBytes(hop.neighbour));
      nexthop.set_nexthop_interface(hop.intf);
      nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_PUSH);
      nexthop.add_labels(hop.label);
      nexthop.set_replicate_count(hop.weight);
   }
}

pb::rpc_server_resync_msg resyncMessage(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg message;
   message.set_resync_state(state);
   return message;
}

}  // namespace

Controller::Controller(std::shared_ptr<grpc::Channel> const& channel) : stub_(pb::velmsdk_service::NewStub(channel)) {}

pb::rpc_server_init_status_msg Controller::init(std::uint32_t routeTag) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(routeTag);
   return call(*stub_, &Stub::rpc_server_init, config);
}

pb::rpc_status_bulk_msg Controller::setGroups(std::vector<Group> const& groups) {
   pb::nexthop_group_bulk_msg request;
   for (auto const& group : groups) fill(*request.add_nexthop_group(), group);
   return call(*stub_, &Stub::nexthop_group_bulk, request);
}

pb::rpc_status_msg Controller::setRoute(Route const& route) {
   pb::ip_route_msg request;
   fill(request, route);
   return call(*stub_, &Stub::ip_route, request);
}

pb::rpc_status_bulk_msg Controller::setRoutes(std::vector<Route> const& routes) {
   pb::ip_route_bulk_msg request;
   for (auto const& route : routes) fill(*request.add_ip_route(), route);
   return call(*stub_, &Stub::ip_route_bulk, request);
}

pb::rpc_status_msg Controller::deleteRoute(std::string const& prefix) {
   pb::ip_route_msg request;  // a route without a group is a deletion
   *request.mutable_prefix() = prefixMessage(prefix);
   return call(*stub_, &Stub::ip_route, request);
}

pb::rpc_status_msg Controller::startResync() {
   return call(*stub_, &Stub::rpc_server_resync, resyncMessage(pb::RESYNC_START));
}

pb::rpc_status_msg Controller::endResync() {
   return call(*stub_, &Stub::rpc_server_resync, resyncMessage(pb::RESYNC_END));
}

}  // namespace VelmSdkRpc::demo
