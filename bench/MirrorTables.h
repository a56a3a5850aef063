#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>

#include "bench/Hosts.h"
#include "bench/Places.h"
#include "proto/remote/agent.grpc.pb.h"
#include "proto/remote/ip_route.grpc.pb.h"

/// The tables of the mirror services that benchmarks fill and read: kinds of entries, each with the method that streams
/// them, by place in the order of the stream, and with what it sends.
namespace VelmSdkRpc::Bench {

/// Statuses, with names of 16 bytes.
struct MirrorStatuses {
   using Service = velm::remote::AgentService;
   static constexpr auto method = &Service::Stub::Asyncbulk_status_set;
   static constexpr auto removalMethod = &Service::Stub::Asyncbulk_status_del;
   static constexpr auto stream = &Service::Stub::statuses;
   static constexpr std::size_t keys = 1'000'000'000;

   static char const* name() { return "statuses"; }
   velm::remote::AgentStatusSetRequest add(Place place) const {
      velm::remote::AgentStatusSetRequest request;
      request.set_name(nameOf(place));
      request.set_value("set");
      return request;
   }
   velm::remote::AgentStatusDelRequest removal(Place place) const {
      velm::remote::AgentStatusDelRequest request;
      request.set_name(nameOf(place));
      return request;
   }
   static velm::remote::AgentStatusesResponse streamed(Place place) {
      velm::remote::AgentStatusesResponse element;
      element.set_name(nameOf(place));
      return element;
   }

 private:
   static std::string nameOf(Place place) { return fmt::format("status-{:09}", place); }
};

/// Host routes of the default VRF, with one tag and without vias.
struct MirrorIpRoutes {
   using Service = velm::remote::IpRouteMgrService;
   static constexpr auto method = &Service::Stub::Asyncbulk_ip_route_set;
   static constexpr auto removalMethod = &Service::Stub::Asyncbulk_ip_route_del;
   static constexpr auto stream = &Service::Stub::ip_routes;
   static constexpr std::size_t keys = hosts;

   static char const* name() { return "ip_routes"; }
   velm::remote::IpRouteSetRequest add(Place place) const {
      velm::remote::IpRouteSetRequest request;
      setRoute(*request.mutable_ip_route(), place);
      return request;
   }
   velm::remote::IpRouteDelRequest removal(Place place) const {
      velm::remote::IpRouteDelRequest request;
      setKey(*request.mutable_key(), place);
      return request;
   }
   static velm::remote::IpRoutesResponse streamed(Place place) {
      velm::remote::IpRoutesResponse element;
      setRoute(*element.mutable_ip_route(), place);
      return element;
   }

 private:
   static void setKey(velm::remote::IpRouteKey& key, Place place) {
      key.mutable_prefix()->set_ip_addr(hostAddress(place));
      key.mutable_prefix()->set_prefix_length(32);
      key.set_preference(1);
   }
   static void setRoute(velm::remote::IpRoute& route, Place place) {
      setKey(*route.mutable_key(), place);
      route.set_tag(7);
   }
};

}  // namespace VelmSdkRpc::Bench
