#include "remote/IpRouteService.h"

#include <optional>
#include <span>
#include <vector>

#include "convert/Enums.h"
#include "convert/IpRoute.h"
#include "platform/hints/Prefetcher.h"
#include "remote/MirrorMethods.h"

// Most methods of the manager come with and without a VRF. inVrf() chooses, so that the choice stands in one place and
// the methods read like those of the other mirrors.
namespace VelmSdkRpc {
namespace {

using AsyncService = IpRouteService::AsyncService;
using types::convert;

// Calls operation() for the default VRF, else operation(name): the overload with a name never gets the empty one.
template <class Request, class Operation>
auto inVrf(Request const& request, Operation&& operation) {
   return request.vrf_name().empty() ? operation() : operation(request.vrf_name());
}

velm::ip_route_key_t const& keyOf(velm::ip_route_key_t const& key) { return key; }
velm::ip_route_key_t const& keyOf(velm::ip_route_t const& route) { return route.key(); }
velm::ip_route_key_t const& keyOf(velm::ip_route_via_t const& via) { return via.route_key(); }

/// A bulk whose routes are told to the switch ahead. `Single` parts its call in two: `subject` converts what the
/// request is about, and `apply` does the rest with that.
template <auto post, class Single>
struct RouteBulk : Method<post> {
   using Element = typename Single::Request;
   using Subject = decltype(Single::subject(Element()));
   struct Ahead {
      std::string const& vrf;  // of the request, which lives longer
      Subject subject;
   };

   static std::optional<Ahead> ahead(Element const& element) {
      try {
         return Ahead{element.vrf_name(), Single::subject(element)};
      } catch (velm::error const&) {
         return std::nullopt;  // is refused in its turn
      }
   }

   static void hint(IpRouteService& service, std::span<Ahead const> group) {
      using Prefetcher = Hints::Prefetcher<velm::ip_route_key_t, std::string>;
      auto const* const prefetcher = dynamic_cast<Prefetcher const*>(&service.mgr());
      if (prefetcher == nullptr) return;
      std::vector<velm::ip_route_key_t> keys;  // of elements of one VRF that follow each other
      for (auto it = group.begin(); it != group.end();) {
         auto const& vrf = it->vrf;
         keys.clear();
         for (; it != group.end() && it->vrf == vrf; ++it) keys.push_back(keyOf(it->subject));
         prefetcher->prefetch(keys, vrf);
      }
   }

   static void call(IpRouteService& service, Element const& element, Ahead const* ahead) {
      Single::apply(service, element, ahead != nullptr ? ahead->subject : Single::subject(element));
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
   static auto subject(Request const& request) { return convert(request.ip_route()); }
   // Here the client's choice counts and not the name: a VRF that is chosen may have the empty one.
   static void apply(IpRouteService& service, Request const& request, velm::ip_route_t const& route) {
      switch (request.options_case()) {
         case Request::kAction: return service.mgr().ip_route_set(route, convert(request.action()));
         case Request::kVrfName: return service.mgr().ip_route_set(route, request.vrf_name());
         case Request::OPTIONS_NOT_SET: return service.mgr().ip_route_set(route);
      }
   }
   static void call(IpRouteService& service, Request const& request, Response&) {
      apply(service, request, subject(request));
   }
};

struct IpRouteDelHandler : Method<&AsyncService::Requestip_route_del> {
   static auto subject(Request const& request) { return convert(request.key()); }
   static void apply(IpRouteService& service, Request const& request, velm::ip_route_key_t const& key) {
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_del(key, vrf...); });
   }
   static void call(IpRouteService& service, Request const& request, Response&) {
      apply(service, request, subject(request));
   }
};

struct IpRouteViaSetHandler : Method<&AsyncService::Requestip_route_via_set> {
   static auto subject(Request const& request) { return convert(request.via()); }
   static void apply(IpRouteService& service, Request const& request, velm::ip_route_via_t const& via) {
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_via_set(via, vrf...); });
   }
   static void call(IpRouteService& service, Request const& request, Response&) {
      apply(service, request, subject(request));
   }
};

struct IpRouteViaDelHandler : Method<&AsyncService::Requestip_route_via_del> {
   static auto subject(Request const& request) { return convert(request.via()); }
   static void apply(IpRouteService& service, Request const& request, velm::ip_route_via_t const& via) {
      inVrf(request, [&](auto const&... vrf) { service.mgr().ip_route_via_del(via, vrf...); });
   }
   static void call(IpRouteService& service, Request const& request, Response&) {
      apply(service, request, subject(request));
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
