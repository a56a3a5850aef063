#include "remote/MplsRouteService.h"

#include <utility>

#include "convert/MplsRoute.h"
#include "convert/Values.h"
#include "platform/loom/TaskScheduler.h"
#include "remote/ResyncMethods.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = MplsRouteService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct MplsRoutes : Method<&AsyncService::Requestmpls_routes> {
   static auto call(MplsRouteService& service, Request const& /*request*/) { return service.mgr().mpls_route_iter(); }
   static Response response(velm::mpls_route_t const& route) {
      Response response;
      *response.mutable_route() = convert(route);
      return response;
   }
};

struct MplsRouteStatuses : Method<&AsyncService::Requestmpls_route_statuses> {
   static auto call(MplsRouteService& service, Request const& /*request*/) {
      return service.mgr().mpls_route_status_iter();
   }
   static Response response(velm::mpls_route_key_t const& key) {
      Response response;
      *response.mutable_key() = convert(key);
      return response;
   }
};

template <auto post>
struct Vias : Method<post> {
   using typename Method<post>::Response;
   static Response response(velm::mpls_route_via_t const& via) {
      Response response;
      *response.mutable_via() = convert(via);
      return response;
   }
};

struct MplsRouteVias : Vias<&AsyncService::Requestmpls_route_vias> {
   static auto call(MplsRouteService& service, Request const& request) {
      return service.mgr().mpls_route_via_iter(convert(request.key()));
   }
};

// A request that selects nothing asks about FEC 0.
struct MplsRouteViaStatuses : Vias<&AsyncService::Requestmpls_route_via_statuses> {
   static auto call(MplsRouteService& service, Request const& request) {
      return request.has_key() ? service.mgr().mpls_route_via_status_iter(convert(request.key()))
                               : service.mgr().mpls_route_via_status_iter(convert(request.fec()));
   }
};

// A request that selects nothing asks about the empty via.
struct Exists : Method<&AsyncService::Requestexists> {
   static Response call(MplsRouteService& service, Request const& request) {
      Response response;
      response.set_exists(request.has_key() ? service.mgr().exists(convert(request.key()))
                                            : service.mgr().exists(convert(request.via())));
      return response;
   }
};

struct MplsRouteSet : Method<&AsyncService::Requestmpls_route_set> {
   static Response call(MplsRouteService& service, Request const& request) {
      service.mgr().mpls_route_set(convert(request.route()));
      return {};
   }
};

struct MplsRouteDel : Method<&AsyncService::Requestmpls_route_del> {
   static Response call(MplsRouteService& service, Request const& request) {
      service.mgr().mpls_route_del(convert(request.key()));
      return {};
   }
};

struct MplsRouteViaSet : Method<&AsyncService::Requestmpls_route_via_set> {
   static Response call(MplsRouteService& service, Request const& request) {
      service.mgr().mpls_route_via_set(convert(request.via()));
      return {};
   }
};

struct MplsRouteViaDel : Method<&AsyncService::Requestmpls_route_via_del> {
   static Response call(MplsRouteService& service, Request const& request) {
      service.mgr().mpls_route_via_del(convert(request.via()));
      return {};
   }
};

struct BulkMplsRouteSet : BulkOf<&AsyncService::Requestbulk_mpls_route_set, MplsRouteSet> {};
struct BulkMplsRouteDel : BulkOf<&AsyncService::Requestbulk_mpls_route_del, MplsRouteDel> {};
struct BulkMplsRouteViaSet : BulkOf<&AsyncService::Requestbulk_mpls_route_via_set, MplsRouteViaSet> {};
struct BulkMplsRouteViaDel : BulkOf<&AsyncService::Requestbulk_mpls_route_via_del, MplsRouteViaDel> {};

struct FecId : Method<&AsyncService::Requestfec_id> {
   static Response call(MplsRouteService& service, Request const& request) {
      Response response;
      *response.mutable_fec() = convert(service.mgr().fec_id(convert(request.key())));
      return response;
   }
};

struct Metric : Method<&AsyncService::Requestmetric> {
   static Response call(MplsRouteService& service, Request const& request) {
      Response response;
      response.set_metric(service.mgr().metric(convert(request.key())));
      return response;
   }
};

}  // namespace

MplsRouteService::MplsRouteService(velm::mpls_route_mgr* mgr)
   : GrpcService("mpls_route"),
     mpls_route_handler(mgr),
     routeBacklog_("MplsRouteBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), MplsRouteBacklog(*this)),
     fecBacklog_("MplsFecBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), MplsFecBacklog(*this)) {}

void MplsRouteService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

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

void MplsRouteService::publish(Event const& response) {
   subscriptions_.publishA<WatchOf<Watch, MplsRouteService>>(response);
}

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
