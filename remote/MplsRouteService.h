#pragma once

#include "platform/velm/mpls_route.h"
#include "proto/remote/mpls_route.grpc.pb.h"
#include "remote/MirrorService.h"
#include "rpc/ServiceBacklog.h"

namespace VelmSdkRpc {

/// Mirrors the MPLS routes of the switch and their FECs.
///
/// Its watch brings of each route and of each FEC, to every client, the last event of a burst: a route that is set and
/// deleted is one deletion. Routes and FECs have a backlog each and are not ordered against each other.
class MplsRouteService : public MirrorService<velm::remote::MplsRouteMgrService, velm::mpls_route_mgr>,
                         public velm::mpls_route_handler {
 public:
   using Event = velm::remote::MplsRouteWatchResponse;

   explicit MplsRouteService(velm::mpls_route_mgr* mgr) : MirrorService("mpls_route", mgr), mpls_route_handler(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_mpls_routes(on); }
   /// For the backlogs: to every watch.
   void publish(Event const& event);

   using mpls_route_handler::on_mpls_route_del;
   using mpls_route_handler::on_mpls_route_set;
   void on_mpls_route_set(velm::mpls_route_key_t const& key, velm::mpls_fec_id_t fec) override;
   void on_mpls_route_del(velm::mpls_route_key_t const& key) override;
   void on_mpls_fec_set(velm::mpls_fec_id_t fec) override;
   void on_mpls_fec_del(velm::mpls_fec_id_t fec) override;

 private:
   ServiceBacklog<velm::mpls_route_key_t, Event, MplsRouteService> routeBacklog_{"MplsRouteBacklog", *this};
   ServiceBacklog<velm::mpls_fec_id_t, Event, MplsRouteService> fecBacklog_{"MplsFecBacklog", *this};
};

}  // namespace VelmSdkRpc
