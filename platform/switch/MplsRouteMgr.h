#pragma once

#include <absl/container/flat_hash_map.h>

#include "platform/hints/Prefetcher.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/MplsRouteVias.h"
#include "platform/switch/MplsRowKey.h"
#include "platform/switch/NamePool.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/mpls_route.h"

namespace velm::embedded {

/// An MPLS route as the switch keeps it, under its key.
struct MplsRoute {
   mpls_fec_id_t fec;
   MplsRouteVias vias;

   void mark(bool marked) { vias.mark(marked); }
   bool prunable() const { return vias.anyMarked(); }
   void prune() { vias.dropMarked(); }
};
void encode(std::string& out, MplsRowKey const& key, MplsRoute const& route);
using MplsRouteTable = Table<MplsRowKey, MplsRoute>;
using MplsVrfLabelTable = Table<mpls_label_t, mpls_vrf_label_t>;

/// MPLS routes. The dataplane programs every one that it does not refuse, so what is programmed is what is asked for.
class MplsRouteMgr : public mpls_route_mgr, public Hints::Prefetcher<mpls_route_key_t> {
 public:
   MplsRouteMgr(CallLedger& ledger, MainLoop& loop);

   /// The dataplane carries the routes out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.mplsRoutes()); }
   /// Brings the folder's routes back, with the ids of their FECs, and keeps every change in it.
   void storeIs(Store& store);

   MplsRouteTable const& table() const { return table_; }

   /// Raises an event of a FEC, whether there is such a FEC or not.
   void simulateFecSet(mpls_fec_id_t fec);
   void simulateFecDel(mpls_fec_id_t fec);

   void resync_init() override;
   void resync_complete() override;
   void prefetch(std::span<mpls_route_key_t const> keys) const override;
   mpls_route_iter_t mpls_route_iter() const override;
   mpls_route_status_iter_t mpls_route_status_iter() const override;
   mpls_route_via_iter_t mpls_route_via_iter(mpls_route_key_t const& key) const override;
   mpls_route_via_status_iter_t mpls_route_via_status_iter(mpls_route_key_t const& key) const override;
   mpls_route_via_status_iter_t mpls_route_via_status_iter(mpls_fec_id_t fec) const override;
   bool exists(mpls_route_key_t const& key) const override;
   bool exists(mpls_route_via_t const& via) const override;
   void mpls_route_set(mpls_route_t const& route) override;
   void mpls_route_del(mpls_route_key_t const& key) override;
   void mpls_route_via_set(mpls_route_via_t const& via) override;
   void mpls_route_via_del(mpls_route_via_t const& via) override;
   mpls_fec_id_t fec_id(mpls_route_key_t const& key) const override;
   std::uint32_t metric(mpls_route_key_t const& key) const override;

 private:
   MplsRoute const* find(mpls_route_key_t const& key) const { return table_.find(MplsRowKey(key)); }
   bool holds(mpls_route_via_t const& via) const;
   mpls_route_via_iter_t iterOfVias(MplsRowKey const& key, MplsRoute const* route) const;
   /// The id for a new route.
   mpls_fec_id_t freshFec(MplsRowKey const& key) const;
   /// Note that the route came to have the id, and that it has it no more.
   void fecIs(MplsRowKey const& key, mpls_fec_id_t fec);
   void fecDel(MplsRowKey const& key, mpls_fec_id_t fec);
   void raiseSet(mpls_route_key_t const& key, mpls_fec_id_t fec);
   void raiseDel(mpls_route_key_t const& key, mpls_fec_id_t fec);

   MainLoop& loop_;
   NamePool names_;  // before the table, whose rows refer to it
   MplsRouteTable table_;
   // Both follow from the table and are rebuilt when it is brought back. They hold the ids that do not follow from a
   // label.
   absl::flat_hash_map<mpls_fec_id_t, MplsRowKey> fecs_;
   mpls_fec_id_t lastFec_;  // the highest that was ever given

   Operations<"mpls_route_mgr", "resync_init", "resync_complete", "mpls_route_iter", "mpls_route_status_iter",
              "mpls_route_via_iter", "mpls_route_via_status_iter", "exists", "mpls_route_set", "mpls_route_del",
              "mpls_route_via_set", "mpls_route_via_del", "fec_id", "metric">
      operations_;
};

/// The labels that are popped and looked up in a VRF.
class MplsVrfLabelMgr : public mpls_vrf_label_mgr, public Hints::Prefetcher<mpls_label_t> {
 public:
   explicit MplsVrfLabelMgr(CallLedger& ledger);

   /// The dataplane carries the labels out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.vrfLabels()); }
   /// Brings the folder's labels back and keeps every change in it.
   void storeIs(Store& store);
   MplsVrfLabelTable const& table() const { return table_; }

   void resync_init() override;
   void resync_complete() override;
   void prefetch(std::span<mpls_label_t const> labels) const override;
   mpls_vrf_label_iter_t mpls_vrf_label_iter() const override;
   mpls_vrf_label_t mpls_vrf_label(mpls_label_t label) const override;
   void mpls_vrf_label_set(mpls_vrf_label_t const& entry) override;
   void mpls_vrf_label_del(mpls_label_t label) override;

 private:
   MplsVrfLabelTable table_;

   Operations<"mpls_vrf_label_mgr", "resync_init", "resync_complete", "mpls_vrf_label_iter", "mpls_vrf_label",
              "mpls_vrf_label_set", "mpls_vrf_label_del">
      operations_;
};

}  // namespace velm::embedded
