#include "clients/demo/Controller.h"

#include <stdexcept>
#include <string_view>
#include <variant>

#include "clients/demo/Call.h"
#include "clients/support/Address.h"

namespace VelmSdkRpc::demo {
namespace {

using Stub = pb::velmsdk_service::Stub;

pb::ip_prefix_msg prefixMessage(std::string const& text) {
   auto network = networkOf(text);
   pb::ip_prefix_msg message;
   message.set_addr(std::move(network.address));
   message.set_prefix_length(network.length);
   return message;
}

void fill(pb::ip_route_msg& message, Route const& route) {
   *message.mutable_prefix() = prefixMessage(route.prefix);
   message.set_nexthop_group(route.group);
   message.set_tag(route.tag);
}

pb::nexthop_msg::mpls_operation_enum operationOf(LabelAction action) {
   switch (action) {
      case LabelAction::push: return pb::nexthop_msg::MPLS_OP_PUSH;
      case LabelAction::pop: return pb::nexthop_msg::MPLS_OP_POP;
      case LabelAction::swap: return pb::nexthop_msg::MPLS_OP_SWAP;
      case LabelAction::forward: break;
   }
   throw std::invalid_argument("a nexthop pushes, pops or swaps");
}

void fill(pb::nexthop_msg& message, Hop const& hop, LabelAction action) {
   message.mutable_nexthop_ip()->set_addr(addressBytes(hop.neighbour));
   message.set_nexthop_interface(hop.intf);
   message.set_mpls_operation(operationOf(action));
   if (action != LabelAction::pop) message.add_labels(hop.label);
   message.set_replicate_count(hop.weight);
}

void fill(pb::nexthop_group_msg& message, Group const& group) {
   message.set_name(group.name);
   for (auto const& hop : group.hops) fill(*message.add_nexthop(), hop, LabelAction::push);
}

void setWay(pb::mpls_route_msg& message, ToNexthop const& way) {
   fill(*message.mutable_nexthop(), way.hop, way.action);
}

void setWay(pb::mpls_route_msg& message, ToGroup const& way) {
   using Forward = pb::mpls_route_msg::forward_nexthop_group_msg;
   auto& forward = *message.mutable_forward_nexthop_group();
   forward.set_nexthop_group(way.group);
   forward.set_mpls_operation(way.action == LabelAction::pop ? Forward::FORWARD_OP_POP : Forward::FORWARD_OP_FORWARD);
}

void setWay(pb::mpls_route_msg& message, ToVrf const& way) { message.set_pop_and_forward_vrf_name(way.vrf); }

void fill(pb::mpls_route_msg& message, LabelRoute const& route) {
   message.set_label(route.label);
   std::visit([&](auto const& way) { setWay(message, way); }, route.way);
}

void fill(pb::nexthop_group_tunnel_msg& message, Tunnel const& tunnel) {
   *message.mutable_prefix() = prefixMessage(tunnel.endpoint);
   message.set_nexthop_group(tunnel.group);
   message.set_igp_metric(tunnel.metric);
}

void fill(pb::cbf_nexthop_group_redirect_msg& message, Redirect const& redirect) {
   message.set_match_nexthop_group_name(redirect.match);
   message.set_redirect_nexthop_group_name(redirect.to);
   message.mutable_match_ipv4_dscp()->Assign(redirect.ipv4Dscp.begin(), redirect.ipv4Dscp.end());
   message.mutable_match_ipv6_dscp()->Assign(redirect.ipv6Dscp.begin(), redirect.ipv6Dscp.end());
}

void fill(pb::sbfd_echo_session_key_msg& message, SessionKey const& key) {
   message.set_outgoing_interface(key.intf);
   message.mutable_nexthop()->set_addr(addressBytes(key.neighbour));
   message.mutable_labels()->Assign(key.labels.begin(), key.labels.end());
}

void fill(pb::sbfd_echo_session_msg& message, Session const& session) {
   fill(*message.mutable_session_key(), session.key);
   message.set_rtt_enabled(session.rtt);
   message.set_min_tx(session.minTx);
   message.set_detection_multiplier(session.multiplier);
   message.set_track_interface_state(session.tracksIntf);
}

void fill(pb::rpc_server_key_value_pair_msg& message, Pair const& pair) {
   message.set_key(pair.key);
   message.set_value(pair.value);
}

// A request for a single element.
template <class Message, class Entry>
Message single(Entry const& entry) {
   Message message;
   fill(message, entry);
   return message;
}

// A request for many, whose elements `add` makes.
template <class Message, class Element, class Entry>
Message bulk(Element* (Message::*add)(), std::vector<Entry> const& entries) {
   Message message;
   for (auto const& entry : entries) fill(*(message.*add)(), entry);
   return message;
}

pb::rpc_server_resync_msg resyncMessage(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg message;
   message.set_resync_state(state);
   return message;
}

}  // namespace

Controller::Controller(std::shared_ptr<grpc::Channel> const& channel) : stub_(pb::velmsdk_service::NewStub(channel)) {}

pb::rpc_server_init_status_msg Controller::init(std::uint32_t routeTag, std::string_view policyMap) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(routeTag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(std::string(policyMap));
   return call(*stub_, &Stub::rpc_server_init, config);
}

pb::rpc_status_bulk_msg Controller::setGroups(std::vector<Group> const& groups) {
   return call(*stub_, &Stub::nexthop_group_bulk, bulk(&pb::nexthop_group_bulk_msg::add_nexthop_group, groups));
}

pb::rpc_status_msg Controller::setRoute(Route const& route) {
   return call(*stub_, &Stub::ip_route, single<pb::ip_route_msg>(route));
}

pb::rpc_status_bulk_msg Controller::setRoutes(std::vector<Route> const& routes) {
   return call(*stub_, &Stub::ip_route_bulk, bulk(&pb::ip_route_bulk_msg::add_ip_route, routes));
}

pb::rpc_status_msg Controller::deleteRoute(std::string const& prefix) {
   pb::ip_route_msg request;  // a route without a group is a deletion
   *request.mutable_prefix() = prefixMessage(prefix);
   return call(*stub_, &Stub::ip_route, request);
}

pb::rpc_status_msg Controller::setLabel(LabelRoute const& label) {
   return call(*stub_, &Stub::mpls_route, single<pb::mpls_route_msg>(label));
}

pb::rpc_status_bulk_msg Controller::setLabels(std::vector<LabelRoute> const& labels) {
   return call(*stub_, &Stub::mpls_route_bulk, bulk(&pb::mpls_route_bulk_msg::add_mpls_route, labels));
}

pb::rpc_status_msg Controller::deleteLabel(std::uint32_t label) {
   pb::mpls_route_msg request;
   request.set_label(label);
   request.set_request_delete(true);
   return call(*stub_, &Stub::mpls_route, request);
}

pb::rpc_status_bulk_msg Controller::setTunnels(std::vector<Tunnel> const& tunnels) {
   return call(*stub_, &Stub::nexthop_group_tunnel_bulk,
               bulk(&pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel, tunnels));
}

pb::rpc_status_bulk_msg Controller::deleteTunnels(std::vector<std::string> const& endpoints) {
   std::vector<Tunnel> tunnels;  // a tunnel without a group is a deletion
   tunnels.reserve(endpoints.size());
   for (auto const& endpoint : endpoints) tunnels.push_back({.endpoint = endpoint, .group = {}});
   return setTunnels(tunnels);
}

pb::rpc_status_msg Controller::setRedirect(Redirect const& redirect) {
   return call(*stub_, &Stub::cbf_nexthop_group_redirect, single<pb::cbf_nexthop_group_redirect_msg>(redirect));
}

pb::rpc_status_bulk_msg Controller::setRedirects(std::vector<Redirect> const& redirects) {
   return call(*stub_, &Stub::cbf_nexthop_group_redirect_bulk,
               bulk(&pb::cbf_nexthop_group_redirect_bulk_msg::add_cbf_nexthop_group_redirect, redirects));
}

pb::rpc_status_msg Controller::deleteRedirect(Redirect const& redirect) {
   auto request = single<pb::cbf_nexthop_group_redirect_msg>(redirect);
   request.set_request_delete(true);
   return call(*stub_, &Stub::cbf_nexthop_group_redirect, request);
}

pb::rpc_status_bulk_msg Controller::setSessions(std::vector<Session> const& sessions) {
   return call(*stub_, &Stub::sbfd_echo_session_bulk,
               bulk(&pb::sbfd_echo_session_bulk_msg::add_sbfd_echo_session, sessions));
}

pb::rpc_status_msg Controller::deleteSession(SessionKey const& key) {
   pb::sbfd_echo_session_msg request;
   fill(*request.mutable_session_key(), key);
   request.set_request_delete(true);
   return call(*stub_, &Stub::sbfd_echo_session, request);
}

pb::rpc_status_msg Controller::changePairs(std::vector<Pair> const& pairs,
                                           std::vector<std::string> const& removedKeys) {
   auto request = bulk(&pb::rpc_server_state_config_msg::add_set, pairs);
   for (auto const& key : removedKeys) request.add_delete_()->set_key(key);
   return call(*stub_, &Stub::rpc_server_state, request);
}

std::vector<Pair> Controller::pairs(std::vector<std::string> const& keys) {
   pb::rpc_server_state_status_msg request;
   for (auto const& key : keys) request.add_value()->set_key(key);
   auto const answer = call(*stub_, &Stub::get_rpc_server_state, request);
   std::vector<Pair> pairs;
   for (auto const& pair : answer.value()) pairs.push_back({pair.key(), pair.value()});
   return pairs;
}

pb::rpc_status_msg Controller::startResync() {
   return call(*stub_, &Stub::rpc_server_resync, resyncMessage(pb::RESYNC_START));
}

pb::rpc_status_msg Controller::endResync() {
   return call(*stub_, &Stub::rpc_server_resync, resyncMessage(pb::RESYNC_END));
}

}  // namespace VelmSdkRpc::demo
