#include "bench/Kinds.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>

#include "clients/support/Call.h"
#include "clients/support/SwitchConsole.h"
#include "proto/velmsdk.grpc.pb.h"

// An entry is made of its place, a number: the n-th host address, the n-th label, the name with n in it. So a list of
// places says which keys a benchmark touches, for whatever kind, and every server gets the same bytes. All ranges begin
// where addresses, labels and names are ordinary ones.
namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;
using Answer = Requests::Answer;

constexpr auto native = "/VelmSdkRpc.pb.velmsdk_service/";
constexpr auto routeService = "/velm.remote.IpRouteMgrService/";
constexpr auto agentService = "/velm.remote.AgentService/";

constexpr auto groupName = "group-1";
constexpr auto policyMap = "policy-map-1";
constexpr std::size_t hosts = std::size_t{1} << 31U;
constexpr std::uint32_t reservedLabels = 16;  // the lowest ones, which have a meaning of their own
constexpr auto sessionIntf = "Ethernet1";
constexpr std::uint32_t firstSessionLabel = 100'000;
constexpr std::uint32_t lastSessionLabel = 16;  // of every path

/// How elements of a native bulk method are made.
template <class Bulk, class Element, class Fill>
Kind::InBulk natively(char const* method, Element* (Bulk::*append)(), Fill fill) {
   return [=](PlaceList const& places, std::size_t elements) {
      return inBulk(std::string(native) + method, Answer::statuses, append, places, elements, fill);
   };
}

template <class Bulk, class Element, class Fill>
Kind::InBulk byMirror(std::string const& path, Element* (Bulk::*append)(), Fill fill) {
   return [=](PlaceList const& places, std::size_t elements) {
      return inBulk(path, Answer::count, append, places, elements, fill);
   };
}

std::string networkOrder(std::uint32_t value) {
   std::string bytes(4, '\0');
   for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>(value >> (24 - 8 * i));
   return bytes;
}

// From 16.0.0.0 on.
std::string hostAddress(Place place) { return networkOrder((16U << 24U) + place); }
std::string nexthopAddress() { return networkOrder(10U << 24U | 1U); }

void setHost(pb::ip_prefix_msg& prefix, Place place, Family family = Family::ipv4) {
   bool const ipv4 = family == Family::ipv4;
   prefix.set_addr(ipv4 ? hostAddress(place)
                        : std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0", 12) + networkOrder(place));
   prefix.set_prefix_length(ipv4 ? 32 : 128);
}

void setRoute(pb::ip_route_msg& route, Place place, Family family, bool deleted) {
   route.set_tag(routeTag);
   setHost(*route.mutable_prefix(), place, family);
   if (!deleted) route.set_nexthop_group(groupName);
}

void setKey(remote::IpRouteKey& key, Place place) {
   key.mutable_prefix()->set_ip_addr(hostAddress(place));
   key.mutable_prefix()->set_prefix_length(32);
   key.set_preference(1);
}

void setRoute(remote::IpRoute& route, Place place) {
   setKey(*route.mutable_key(), place);
   route.set_tag(routeTag);
}

void setSession(pb::sbfd_echo_session_msg& session, Place place, bool deleted) {
   auto& key = *session.mutable_session_key();
   key.set_outgoing_interface(sessionIntf);
   key.mutable_nexthop()->set_addr(nexthopAddress());
   key.add_labels(firstSessionLabel + place);
   key.add_labels(lastSessionLabel);
   session.set_request_delete(deleted);
   if (deleted) return;
   session.set_rtt_enabled(true);
   session.set_min_tx(300);
   session.set_detection_multiplier(3);
   session.set_track_interface_state(true);
}

void setRedirect(pb::cbf_nexthop_group_redirect_msg& redirect, Place place, bool deleted) {
   constexpr std::uint32_t values = 4;
   constexpr std::uint32_t dscpValues = 64;  // that there are
   redirect.set_match_nexthop_group_name(fmt::format("from-{}", place));
   redirect.set_redirect_nexthop_group_name(fmt::format("to-{}", place));
   redirect.set_request_delete(deleted);
   for (std::uint32_t i = 0; i < values && !deleted; ++i) {
      redirect.add_match_ipv4_dscp((place + i) % dscpValues);
      redirect.add_match_ipv6_dscp((place + i) % dscpValues);
   }
}

std::string statusName(Place place) { return fmt::format("status-{:09}", place); }

std::string simulateSession(Place place) {
   return fmt::format("simulate sbfd {} 10.0.0.1 labels {},{} dscp 0 exp 0", sessionIntf, firstSessionLabel + place,
                      lastSessionLabel);
}

void throwUnlessSuccess(char const* what, pb::rpc_status_msg const& status) {
   if (status.status() == pb::rpc_status_msg::STATUS_SUCCESS) return;
   throw std::runtime_error(fmt::format("{}: {}", what, status.ShortDebugString()));
}

void sendNow(Server const& agent, Requests const& requests) {
   AsyncClient client;
   send(requests, client, agent.channel(), 2);
}

}  // namespace

Kind ipRoutes(Family family) {
   auto const method = [family](bool deleted) {
      return natively("ip_route_bulk", &pb::ip_route_bulk_msg::add_ip_route,
                      [=](pb::ip_route_msg& route, Place place) { setRoute(route, place, family, deleted); });
   };
   return {.keys = hosts, .add = method(false), .remove = method(true)};
}

Kind tunnels() {
   auto const method = [](bool deleted) {
      return natively("nexthop_group_tunnel_bulk", &pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel,
                      [=](pb::nexthop_group_tunnel_msg& tunnel, Place place) {
                         setHost(*tunnel.mutable_prefix(), place);
                         if (deleted) return;
                         tunnel.set_nexthop_group(groupName);
                         tunnel.set_igp_metric(10);
                      });
   };
   return {.keys = hosts, .add = method(false), .remove = method(true)};
}

Kind labels() {
   using Forward = pb::mpls_route_msg_forward_nexthop_group_msg;
   auto const method = [](bool deleted) {
      return natively("mpls_route_bulk", &pb::mpls_route_bulk_msg::add_mpls_route,
                      [=](pb::mpls_route_msg& route, Place place) {
                         route.set_label(reservedLabels + place);
                         route.set_request_delete(deleted);
                         if (deleted) return;
                         auto& forward = *route.mutable_forward_nexthop_group();
                         forward.set_nexthop_group(groupName);
                         forward.set_mpls_operation(Forward::FORWARD_OP_FORWARD);
                      });
   };
   return {.keys = (std::size_t{1} << 20U) - reservedLabels, .add = method(false), .remove = method(true)};
}

Kind sessions() {
   auto const method = [](bool deleted) {
      return natively("sbfd_echo_session_bulk", &pb::sbfd_echo_session_bulk_msg::add_sbfd_echo_session,
                      [=](pb::sbfd_echo_session_msg& session, Place place) { setSession(session, place, deleted); });
   };
   return {
      .keys = std::size_t{1} << 19U, .add = method(false), .remove = method(true), .world = {"simulate sbfd auto off"}};
}

Kind redirects() {
   auto const method = [](bool deleted) {
      return natively(
         "cbf_nexthop_group_redirect_bulk", &pb::cbf_nexthop_group_redirect_bulk_msg::add_cbf_nexthop_group_redirect,
         [=](pb::cbf_nexthop_group_redirect_msg& redirect, Place place) { setRedirect(redirect, place, deleted); });
   };
   return {.keys = std::size_t{1} << 20U,
           .add = method(false),
           .remove = method(true),
           .policyMap = policyMap,
           .removal = "class_map_mgr.class_map_del"};
}

Kind mirrorRoutes() {
   std::string const service = routeService;
   return {.keys = hosts,
           .add = byMirror(
              service + "bulk_ip_route_set", &remote::BulkIpRouteSetRequest::add_requests,
              [](remote::IpRouteSetRequest& request, Place place) { setRoute(*request.mutable_ip_route(), place); }),
           .remove =
              byMirror(service + "bulk_ip_route_del", &remote::BulkIpRouteDelRequest::add_requests,
                       [](remote::IpRouteDelRequest& request, Place place) { setKey(*request.mutable_key(), place); })};
}

Kind mirrorStatuses() {
   std::string const service = agentService;
   return {.keys = 1'000'000'000,
           .add = byMirror(service + "bulk_status_set", &remote::AgentBulkStatusSetRequest::add_requests,
                           [](remote::AgentStatusSetRequest& request, Place place) {
                              request.set_name(statusName(place));
                              request.set_value("set");
                           }),
           .remove = byMirror(
              service + "bulk_status_del", &remote::AgentBulkStatusDelRequest::add_requests,
              [](remote::AgentStatusDelRequest& request, Place place) { request.set_name(statusName(place)); })};
}

Requests routeCalls(PlaceList const& places) {
   return oneByOne<pb::ip_route_msg>(
      std::string(native) + "ip_route", Answer::status, places,
      [](pb::ip_route_msg& route, Place place) { setRoute(route, place, Family::ipv4, false); });
}

Requests mirrorRouteCalls(PlaceList const& places) {
   return oneByOne<remote::IpRouteSetRequest>(
      std::string(routeService) + "ip_route_set", Answer::ok, places,
      [](remote::IpRouteSetRequest& request, Place place) { setRoute(*request.mutable_ip_route(), place); });
}

Requests mirrorRouteReads(PlaceList const& places) {
   return oneByOne<remote::IpRouteRequest>(
      std::string(routeService) + "ip_route", Answer::ok, places,
      [](remote::IpRouteRequest& request, Place place) { setKey(*request.mutable_key(), place); });
}

remote::IpRoutesResponse streamedRoute(Place place) {
   remote::IpRoutesResponse element;
   setRoute(*element.mutable_ip_route(), place);
   return element;
}

remote::AgentStatusesResponse streamedStatus(Place place) {
   remote::AgentStatusesResponse element;
   element.set_name(statusName(place));
   return element;
}

Place placeOf(pb::sbfd_echo_session_key_msg const& key) { return key.labels(0) - firstSessionLabel; }

std::string simulateStatus(Place place, int status) {
   return fmt::format("{} status {}", simulateSession(place), status);
}

std::string simulateRtt(Place place) {
   return fmt::format("{0} rtt {1} {1} {1} {1} {1} {1} {1}", simulateSession(place), 250);
}

std::string simulateLink(bool up) {
   return fmt::format("simulate interface {} oper {}", sessionIntf, up ? "up" : "down");
}

pb::rpc_server_init_status_msg initSession(Server const& agent, std::string const& policyMap) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(routeTag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
   auto const stub = pb::velmsdk_service::NewStub(agent.channel());
   auto opened = call(*stub, &pb::velmsdk_service::Stub::rpc_server_init, config);
   throwUnlessSuccess("rpc_server_init", opened.status());
   return opened;
}

void prepare(Server const& agent, Kind const& kind) {
   if (!kind.world.empty()) SwitchConsole(agent.channel()).configure(kind.world);
   initSession(agent, kind.policyMap);
   pb::nexthop_group_msg group;
   group.set_name(groupName);
   auto& nexthop = *group.add_nexthop();
   nexthop.mutable_nexthop_ip()->set_addr(nexthopAddress());
   nexthop.set_replicate_count(1);
   auto const stub = pb::velmsdk_service::NewStub(agent.channel());
   throwUnlessSuccess("nexthop_group", call(*stub, &pb::velmsdk_service::Stub::nexthop_group, group));
}

void add(Server const& agent, Kind const& kind, PlaceList const& places, std::size_t elements) {
   sendNow(agent, kind.add(places, elements));
}

void remove(Server const& agent, Kind const& kind, PlaceList const& places, std::size_t elements) {
   SwitchConsole const console(agent.channel());
   auto const before = kind.removal.empty() ? 0 : console.callsOf(kind.removal);
   sendNow(agent, kind.remove(places, elements));
   if (kind.removal.empty()) return;
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
   while (console.callsOf(kind.removal) < before + places.size()) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the agent does not end a removal");
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
   }
}

}  // namespace VelmSdkRpc::Bench
