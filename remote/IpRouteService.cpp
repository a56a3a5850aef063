#include "remote/IpRouteService.h"

#include <vector>

#include "convert/Enums.h"
#include "convert/IpRoute.h"
#include "platform/hints/Prefetcher.h"
#include "remote/MirrorMethods.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = IpRouteService::AsyncService;
using types::convert;

// Calls operation() for the default VRF, else operation(name): the overload with a name never gets the empty one.
template <class Request, class Operation>
auto inVrf(Request const& request, Operation&& operation) {
   return request.vrf_name().empty() ? operation() : operation(request.vrf_name());
}

velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteSetRequest const& request) {
   return request.ip_route().key();
}
velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteDelRequest const& request) { return request.key(); }
template <class ViaRequest>
velm::remote::IpRouteKey const& keyOf(ViaRequest const& request) {
   return request.via().route_key();
}

/// A bulk whose routes are told to the switch ahead.
template <auto post, class Single>
struct RouteBulk : BulkOf<post, Single> {
   template <class Group>
   static void announce(IpRouteService& service, Group const& group) {
      std::vector<velm::ip_route_key_t> keys;
      try {
         for (auto const& request : group) keys.push_back(convert(keyOf(request)));
      } catch (velm::error const&) {
         // A key that cannot be converted is refused in its turn.
      }
      using Prefetcher = Hints::Prefetcher<velm::ip_route_key_t, std::string>;
      if (auto const* const prefetcher = dynamic_cast<Prefetcher const*>(&service.mgr())) {
         prefetcher->prefetch(keys, group.front().vrf_name());
      }
   }
};

struct TagHandler : Method<&AsyncService::Requesttag> {
   static void call(IpRouteService& service, Request const&, Response& response) {
      response.set_tag(service.mgr().tag());
   }
};

struct TagIsHandler : Method<&AsyncService::Requesttag_is> {
   static void call(IpRouteService& service, Request const& request, Response&) { service.mgr().tag_is(request.tag()); }
};

struct ResyncInitHandler : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncCompleteHandler : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct IpRoutesAdapter : Method<&AsyncService::Requestip_routes> {
   static auto call(IpRouteService& service, Request const&) { return service.mgr().ip_route_iter(); }
   static void fill(Response& response, velm::ip_route_t const& route) {
      *response.mutable_ip_route() = convert(route);
   }
};

struct IpRouteViasAdapter : Method<&AsyncService::Requestip_route_vias> {
   static auto call(IpRouteService& service, Request const& request) {
      auto const key = convert(request.key());
      return inVrf(request, [&](auto const&... vrf) { return service.mgr().ip_route_via_iter(key, vrf...); });
   }
   static void fill(Response& response, velm::ip_route_via_t const& via) {
      *response.mutable_ip_route_via() = convert(via);
   }
};

struct IpRouteExistsHandler : Method<&AsyncService::Requestip_route_exists> {
   static void call(IpRouteService& service, Request const& request, Response& response) {
      auto const key = convert(request.key());
      response.set_exists(inVrf(request, [&](auto const&... vrf) { return service.mgr().exists(key, vrf...); }));
   }
};

struct IpRouteViaExistsHandler : Method<&AsyncService::Requestip_route_via_exists> {
   static void call(IpRouteService& service, Request const& request, Response& response) {
      auto const via = convert(request.via());
      response.set_exists(inVrf(request, [&](auto const&... vrf) { return service.mgr().exists(via, vrf...); }));
   }
};

struct IpRouteHandler : Method<&AsyncService::Requestip_route> {
   static void call(IpRouteService& service, Request const& request, Response& response) {
      auto const key = convert(request.key());
      auto const route = inVrf(request, [&](auto const&... vrf) { return service.mgr().ip_route(key, vrf...); });
      *response.mutable_ip_route() = convert(route);
   }
};

struct IpRouteSetHandler : Method<&AsyncService::Requestip_route_set> {
   // Here the client's choice counts and not the name: a VRF that is chosen may have the empty one.
   static void call(IpRouteService& service, Request const& request, Response&) {
      auto const route = convert(request.ip_route());
      switch (request.options_case()) {
         case Request::kAction: return service.mgr().ip_route_set(route, convert(request.action()));
         case Request::kVrfName: return service.mgr().ip_route_set(route, request.vrf_name());
         case Request::OPTIONS_NOT_SET: return service.mgr().ip_route_set(route);
      }
   }
};

struct IpRouteDelHandler : Method<&AsyncService::Requestip_route_del> {
   static void call(IpRouteService& service, Request const& request, Response&) {
      auto const key = convert(request.key());
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_del(key, vrf...); });
   }
};

struct IpRouteViaSetHandler : Method<&AsyncService::Requestip_route_via_set> {
   static void call(IpRouteService& service, Request const& request, Response&) {
      auto const via = convert(request.via());
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_via_set(via, vrf...); });
   }
};

struct IpRouteViaDelHandler : Method<&AsyncService::Requestip_route_via_del> {
   static void call(IpRouteService& service, Request const& request, Response&) {
      auto const via = convert(request.via());
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_via_del(via, vrf...); });
   }
};

struct BulkIpRouteSetHandler : RouteBulk<&AsyncService::Requestbulk_ip_route_set, IpRouteSetHandler> {};
struct BulkIpRouteDelHandler : RouteBulk<&AsyncService::Requestbulk_ip_route_del, IpRouteDelHandler> {};
struct BulkIpRouteViaSetHandler : RouteBulk<&AsyncService::Requestbulk_ip_route_via_set, IpRouteViaSetHandler> {};
struct BulkIpRouteViaDelHandler : RouteBulk<&AsyncService::Requestbulk_ip_route_via_del, IpRouteViaDelHandler> {};

}  // namespace

void IpRouteService::startHandlers() {
   registerAdapter<UnaryRequestHandler, TagHandler>(*this);
   registerAdapter<UnaryRequestHandler, TagIsHandler>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInitHandler>(*this);
   registerAdapter<UnaryRequestHandler, ResyncCompleteHandler>(*this);
   registerAdapter<IteratorStreamingHandler, IpRoutesAdapter>(*this);
   registerAdapter<IteratorStreamingHandler, IpRouteViasAdapter>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteExistsHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaExistsHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteDelHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteViaSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, IpRouteViaDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkIpRouteViaDelHandler>(*this);
}

}  // namespace VelmSdkRpc
