#include "remote/MplsRouteService.h"

#include <utility>

#include "convert/MplsRoute.h"
#include "remote/MirrorMethods.h"

// Two backlogs, since a route's event and that of its FEC have different keys. Both tell of the same change, and a
// client that wants them together reads the route after either.
namespace VelmSdkRpc {
namespace {

using AsyncService = MplsRouteService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct MplsRoutes : Method<&AsyncService::Requestmpls_routes> {
   static auto call(MplsRouteService& service, Request const&) { return service.mgr().mpls_route_iter(); }
   static void fill(Response& response, velm::mpls_route_t const& route) { *response.mutable_route() = convert(route); }
};

struct MplsRouteStatuses : Method<&AsyncService::Requestmpls_route_statuses> {
   static auto call(MplsRouteService& service, Request const&) { return service.mgr().mpls_route_status_iter(); }
   static void fill(Response& response, velm::mpls_route_key_t const& key) { *response.mutable_key() = convert(key); }
};

struct MplsRouteVias : Method<&AsyncService::Requestmpls_route_vias> {
   static auto call(MplsRouteService& service, Request const& request) {
      return service.mgr().mpls_route_via_iter(convert(request.key()));
   }
   static void fill(Response& response, velm::mpls_route_via_t const& via) { *response.mutable_via() = convert(via); }
};

// A request that selects nothing asks about FEC 0.
struct MplsRouteViaStatuses : Method<&AsyncService::Requestmpls_route_via_statuses> {
   static auto call(MplsRouteService& service, Request const& request) {
      return request.has_key() ? service.mgr().mpls_route_via_status_iter(convert(request.key()))
                               : service.mgr().mpls_route_via_status_iter(convert(request.fec()));
   }
   static void fill(Response& response, velm::mpls_route_via_t const& via) { *response.mutable_via() = convert(via); }
};

// A request that selects nothing asks about the empty via.
struct Exists : Method<&AsyncService::Requestexists> {
   static void call(MplsRouteService& service, Request const& request, Response& response) {
      response.set_exists(request.has_key() ? service.mgr().exists(convert(request.key()))
                                            : service.mgr().exists(convert(request.via())));
   }
};

struct MplsRouteSet : Method<&AsyncService::Requestmpls_route_set> {
   static void call(MplsRouteService& service, Request const& request, Response&) {
      service.mgr().mpls_route_set(convert(request.route()));
   }
};

struct MplsRouteDel : Method<&AsyncService::Requestmpls_route_del> {
   static void call(MplsRouteService& service, Request const& request, Response&) {
      service.mgr().mpls_route_del(convert(request.key()));
   }
};

struct MplsRouteViaSet : Method<&AsyncService::Requestmpls_route_via_set> {
   static void call(MplsRouteService& service, Request const& request, Response&) {
      service.mgr().mpls_route_via_set(convert(request.via()));
   }
};

struct MplsRouteViaDel : Method<&AsyncService::Requestmpls_route_via_del> {
   static void call(MplsRouteService& service, Request const& request, Response&) {
      service.mgr().mpls_route_via_del(convert(request.via()));
   }
};

struct BulkMplsRouteSet : BulkOf<&AsyncService::Requestbulk_mpls_route_set, MplsRouteSet> {};
struct BulkMplsRouteDel : BulkOf<&AsyncService::Requestbulk_mpls_route_del, MplsRouteDel> {};
struct BulkMplsRouteViaSet : BulkOf<&AsyncService::Requestbulk_mpls_route_via_set, MplsRouteViaSet> {};
struct BulkMplsRouteViaDel : BulkOf<&AsyncService::Requestbulk_mpls_route_via_del, MplsRouteViaDel> {};

struct FecId : Method<&AsyncService::Requestfec_id> {
   static void call(MplsRouteService& service, Request const& request, Response& response) {
      *response.mutable_fec() = convert(service.mgr().fec_id(convert(request.key())));
   }
};

struct Metric : Method<&AsyncService::Requestmetric> {
   static void call(MplsRouteService& service, Request const& request, Response& response) {
      response.set_metric(service.mgr().metric(convert(request.key())));
   }
};

}  // namespace

void MplsRouteService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRoutes>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRouteStatuses>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRouteVias>(*this);
   registerAdapter<IteratorStreamingHandler, MplsRouteViaStatuses>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, MplsRouteSet>(*this);
   registerAdapter<BulkRequestHandler, BulkMplsRouteSet>(*this);
   registerAdapter<UnaryRequestHandler, MplsRouteDel>(*this);
   registerAdapter<BulkRequestHandler, BulkMplsRouteDel>(*this);
   registerAdapter<UnaryRequestHandler, MplsRouteViaSet>(*this);
   registerAdapter<BulkRequestHandler, BulkMplsRouteViaSet>(*this);
   registerAdapter<UnaryRequestHandler, MplsRouteViaDel>(*this);
   registerAdapter<BulkRequestHandler, BulkMplsRouteViaDel>(*this);
   registerAdapter<UnaryRequestHandler, FecId>(*this);
   registerAdapter<UnaryRequestHandler, Metric>(*this);
}

void MplsRouteService::publish(Event const& event) {
   subscriptions().publishA<WatchOf<Watch, MplsRouteService>>(event);
}

// Set and deletion of a route, or of a FEC, share its entry in the backlog: the last one is the one that goes out.
void MplsRouteService::on_mpls_route_set(velm::mpls_route_key_t const& key, velm::mpls_fec_id_t fec) {
   Event event;
   auto& set = *event.mutable_on_mpls_route_set();
   *set.mutable_route_key() = convert(key);
   *set.mutable_fec() = convert(fec);
   routeBacklog_.put(key, std::move(event));
}

void MplsRouteService::on_mpls_route_del(velm::mpls_route_key_t const& key) {
   Event event;
   *event.mutable_on_mpls_route_del()->mutable_route_key() = convert(key);
   routeBacklog_.put(key, std::move(event));
}

void MplsRouteService::on_mpls_fec_set(velm::mpls_fec_id_t fec) {
   Event event;
   *event.mutable_on_mpls_fec_set()->mutable_fec() = convert(fec);
   fecBacklog_.put(fec, std::move(event));
}

void MplsRouteService::on_mpls_fec_del(velm::mpls_fec_id_t fec) {
   Event event;
   *event.mutable_on_mpls_fec_del()->mutable_fec() = convert(fec);
   fecBacklog_.put(fec, std::move(event));
}

}  // namespace VelmSdkRpc
