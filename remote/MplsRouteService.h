#pragma once

#include "platform/velm/mpls_route.h"
#include "proto/remote/mpls_route.grpc.pb.h"
#include "rpc/BacklogPublisher.h"
#include "rpc/GenericBacklog.h"
#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

class MplsRouteService;
using MplsRouteBacklog = BacklogPublisher<MplsRouteService>;
using MplsFecBacklog = BacklogPublisher<MplsRouteService>;

/// Mirrors the MPLS routes of the switch. Its watch brings of each route and of each FEC the last event of a burst;
/// routes and FECs do not wait for each other. Keeps nothing of a resync. SDK callbacks and the backlogs run on the
/// main loop, all else on the server thread.
class MplsRouteService : public GrpcService, public velm::mpls_route_handler {
 public:
   using AsyncService = velm::remote::MplsRouteMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit MplsRouteService(velm::mpls_route_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::mpls_route_mgr& mgr() const { return *get_mgr(); }

   SubscriptionController<MplsRouteService>& subscriptions() { return subscriptions_; }
   void startWatching() { watch_all_mpls_routes(true); }
   void stopWatching() { watch_all_mpls_routes(false); }
   void publish(velm::remote::MplsRouteWatchResponse const& response);

   using mpls_route_handler::on_mpls_route_del;
   using mpls_route_handler::on_mpls_route_set;
   void on_mpls_route_set(velm::mpls_route_key_t const& key, velm::mpls_fec_id_t fec) override;
   void on_mpls_route_del(velm::mpls_route_key_t const& key) override;
   void on_mpls_fec_set(velm::mpls_fec_id_t fec) override;
   void on_mpls_fec_del(velm::mpls_fec_id_t fec) override;

 private:
   using Event = velm::remote::MplsRouteWatchResponse;

   AsyncService asyncService_;
   GenericBacklog<velm::mpls_route_key_t, Event, MplsRouteBacklog> routeBacklog_;
   GenericBacklog<velm::mpls_fec_id_t, Event, MplsFecBacklog> fecBacklog_;
   SubscriptionController<MplsRouteService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
