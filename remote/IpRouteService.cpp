#include "remote/IpRouteService.h"

#include <vector>

#include "convert/Enums.h"
#include "convert/IpRoute.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/NamedRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = IpRouteService::AsyncService;
using types::convert;
using velm::ip_route_mgr;

// Calls operation() for the default VRF, else operation(name): the overload with a name never gets the empty one.
template <class Request, class Operation>
auto inVrf(Request const& request, Operation&& operation) {
   return request.vrf_name().empty() ? operation() : operation(request.vrf_name());
}

// Here the client's choice counts and not the name: a VRF that is chosen may have the empty one.
void ipRouteSetImpl(velm::remote::IpRouteSetRequest const& request, ip_route_mgr& mgr) {
   using Request = velm::remote::IpRouteSetRequest;
   auto const route = convert(request.ip_route());
   switch (request.options_case()) {
      case Request::kAction: return mgr.ip_route_set(route, convert(request.action()));
      case Request::kVrfName: return mgr.ip_route_set(route, request.vrf_name());
      case Request::OPTIONS_NOT_SET: return mgr.ip_route_set(route);
   }
}

void ipRouteDelImpl(velm::remote::IpRouteDelRequest const& request, ip_route_mgr& mgr) {
   auto const key = convert(request.key());
   inVrf(request, [&](auto const&... vrf) { mgr.ip_route_del(key, vrf...); });
}

void ipRouteViaSetImpl(velm::remote::IpRouteViaSetRequest const& request, ip_route_mgr& mgr) {
   auto const via = convert(request.via());
   inVrf(request, [&](auto const&... vrf) { mgr.ip_route_via_set(via, vrf...); });
}

void ipRouteViaDelImpl(velm::remote::IpRouteViaDelRequest const& request, ip_route_mgr& mgr) {
   auto const via = convert(request.via());
   inVrf(request, [&](auto const&... vrf) { mgr.ip_route_via_del(via, vrf...); });
}

velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteSetRequest const& request) {
   return request.ip_route().key();
}
velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteDelRequest const& request) { return request.key(); }
velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteViaSetRequest const& request) {
   return request.via().route_key();
}
velm::remote::IpRouteKey const& keyOf(velm::remote::IpRouteViaDelRequest const& request) {
   return request.via().route_key();
}

// A key that cannot be converted is refused in its turn.
template <class Group>
void announce(Group const& group, ip_route_mgr const& mgr) {
   std::vector<velm::ip_route_key_t> keys;
   try {
      for (auto const& request : group) keys.push_back(convert(keyOf(request)));
   } catch (velm::error const&) {
   }
   mgr.prefetch(keys, group.front().vrf_name());
}

template <class Self, auto post>
class RouteMethod : public NamedRequestHandler<Self, post, IpRouteService> {
 public:
   using RouteMethod::NamedRequestHandler::NamedRequestHandler;

 protected:
   ip_route_mgr& mgr() const { return this->service().mgr(); }
};

/// A method that changes one thing, by impl(request, mgr).
template <auto post, auto impl>
class Change final : public RouteMethod<Change<post, impl>, post> {
 public:
   using Change::RouteMethod::RouteMethod;
   void process() override {
      this->answer([this](auto&) { impl(this->request(), this->mgr()); });
   }
};

/// Its bulk.
template <auto post, auto impl>
class BulkChange final : public RouteMethod<BulkChange<post, impl>, post> {
 public:
   using BulkChange::RouteMethod::RouteMethod;
   void process() override {
      this->respondBulk([this](auto const& group) { announce(group, this->mgr()); },
                        [this](auto const& element) { impl(element, this->mgr()); });
   }
};

using IpRouteSetHandler = Change<&AsyncService::Requestip_route_set, &ipRouteSetImpl>;
using IpRouteDelHandler = Change<&AsyncService::Requestip_route_del, &ipRouteDelImpl>;
using IpRouteViaSetHandler = Change<&AsyncService::Requestip_route_via_set, &ipRouteViaSetImpl>;
using IpRouteViaDelHandler = Change<&AsyncService::Requestip_route_via_del, &ipRouteViaDelImpl>;
using BulkIpRouteSetHandler = BulkChange<&AsyncService::Requestbulk_ip_route_set, &ipRouteSetImpl>;
using BulkIpRouteDelHandler = BulkChange<&AsyncService::Requestbulk_ip_route_del, &ipRouteDelImpl>;
using BulkIpRouteViaSetHandler = BulkChange<&AsyncService::Requestbulk_ip_route_via_set, &ipRouteViaSetImpl>;
using BulkIpRouteViaDelHandler = BulkChange<&AsyncService::Requestbulk_ip_route_via_del, &ipRouteViaDelImpl>;

class TagHandler : public RouteMethod<TagHandler, &AsyncService::Requesttag> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response& response) { response.set_tag(mgr().tag()); });
   }
};

class TagIsHandler : public RouteMethod<TagIsHandler, &AsyncService::Requesttag_is> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response&) { mgr().tag_is(request().tag()); });
   }
};

class ResyncInitHandler : public RouteMethod<ResyncInitHandler, &AsyncService::Requestresync_init> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response&) { mgr().resync_init(); });
   }
};

class ResyncCompleteHandler : public RouteMethod<ResyncCompleteHandler, &AsyncService::Requestresync_complete> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response&) { mgr().resync_complete(); });
   }
};

class IpRouteExistsHandler : public RouteMethod<IpRouteExistsHandler, &AsyncService::Requestip_route_exists> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response& response) {
         auto const key = convert(request().key());
         response.set_exists(inVrf(request(), [&](auto const&... vrf) { return mgr().exists(key, vrf...); }));
      });
   }
};

class IpRouteViaExistsHandler : public RouteMethod<IpRouteViaExistsHandler, &AsyncService::Requestip_route_via_exists> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response& response) {
         auto const via = convert(request().via());
         response.set_exists(inVrf(request(), [&](auto const&... vrf) { return mgr().exists(via, vrf...); }));
      });
   }
};

class IpRouteHandler : public RouteMethod<IpRouteHandler, &AsyncService::Requestip_route> {
 public:
   using RouteMethod::RouteMethod;
   void process() override {
      answer([this](Response& response) {
         auto const key = convert(request().key());
         *response.mutable_ip_route() =
            convert(inVrf(request(), [&](auto const&... vrf) { return mgr().ip_route(key, vrf...); }));
      });
   }
};

struct IpRoutesAdapter : Method<&AsyncService::Requestip_routes> {
   static auto call(IpRouteService& service, Request const& /*request*/) { return service.mgr().ip_route_iter(); }
   static Response response(velm::ip_route_t const& route) {
      Response response;
      *response.mutable_ip_route() = convert(route);
      return response;
   }
};

struct IpRouteViasAdapter : Method<&AsyncService::Requestip_route_vias> {
   static auto call(IpRouteService& service, Request const& request) {
      auto const key = convert(request.key());
      return inVrf(request, [&](auto const&... vrf) { return service.mgr().ip_route_via_iter(key, vrf...); });
   }
   static Response response(velm::ip_route_via_t const& via) {
      Response response;
      *response.mutable_ip_route_via() = convert(via);
      return response;
   }
};

}  // namespace

IpRouteService::IpRouteService(velm::ip_route_mgr* mgr) : GrpcService("IpRoute"), mgr_(mgr) {}

void IpRouteService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void IpRouteService::startHandlers() {
   arm<TagHandler>(*this);
   arm<TagIsHandler>(*this);
   arm<ResyncInitHandler>(*this);
   arm<ResyncCompleteHandler>(*this);
   registerAdapter<IteratorStreamingHandler, IpRoutesAdapter>(*this);
   registerAdapter<IteratorStreamingHandler, IpRouteViasAdapter>(*this);
   arm<IpRouteExistsHandler>(*this);
   arm<IpRouteViaExistsHandler>(*this);
   arm<IpRouteHandler>(*this);
   arm<IpRouteSetHandler>(*this);
   arm<BulkIpRouteSetHandler>(*this);
   arm<IpRouteDelHandler>(*this);
   arm<BulkIpRouteDelHandler>(*this);
   arm<IpRouteViaSetHandler>(*this);
   arm<BulkIpRouteViaSetHandler>(*this);
   arm<IpRouteViaDelHandler>(*this);
   arm<BulkIpRouteViaDelHandler>(*this);
}

}  // namespace VelmSdkRpc
