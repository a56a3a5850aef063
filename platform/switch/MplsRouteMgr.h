#pragma once

#include "platform/switch/CallLedger.h"
#include "platform/switch/StoredVia.h"
#include "platform/switch/Table.h"
#include "platform/velm/mpls_route.h"

namespace velm::embedded {

/// An MPLS route as the switch keeps it, under its key.
struct MplsRoute {
   StoredVias<mpls_route_via_t> vias;

   void mark(bool marked) { markVias(vias, marked); }
   bool prunable() const { return anyMarked(vias); }
   void prune() { dropMarked(vias); }
   static constexpr auto attributes() { return std::tuple{attribute{"vias", &MplsRoute::vias}}; }
};
using MplsRouteTable = Table<mpls_route_key_t, MplsRoute>;
using MplsVrfLabelTable = Table<mpls_label_t, mpls_vrf_label_t>;

class MplsRouteMgr : public mpls_route_mgr {
 public:
   explicit MplsRouteMgr(CallLedger& ledger);
   MplsRouteTable const& table() const { return table_; }

   void resync_init() override;
   void resync_complete() override;
   mpls_route_iter_t mpls_route_iter() const override;
   mpls_route_via_iter_t mpls_route_via_iter(mpls_route_key_t const& key) const override;
   bool exists(mpls_route_key_t const& key) const override;
   bool exists(mpls_route_via_t const& via) const override;
   void mpls_route_set(mpls_route_t const& route) override;
   void mpls_route_del(mpls_route_key_t const& key) override;
   void mpls_route_via_set(mpls_route_via_t const& via) override;
   void mpls_route_via_del(mpls_route_via_t const& via) override;

 private:
   bool holds(mpls_route_via_t const& via) const;

   MplsRouteTable table_;

   mutable Operation resync_init_;
   mutable Operation resync_complete_;
   mutable Operation iter_;
   mutable Operation via_iter_;
   mutable Operation exists_;
   mutable Operation set_;
   mutable Operation del_;
   mutable Operation via_set_;
   mutable Operation via_del_;
};

class MplsVrfLabelMgr : public mpls_vrf_label_mgr {
 public:
   explicit MplsVrfLabelMgr(CallLedger& ledger);
   MplsVrfLabelTable const& table() const { return table_; }

   void resync_init() override;
   void resync_complete() override;
   mpls_vrf_label_iter_t mpls_vrf_label_iter() const override;
   mpls_vrf_label_t mpls_vrf_label(mpls_label_t label) const override;
   void mpls_vrf_label_set(mpls_vrf_label_t const& entry) override;
   void mpls_vrf_label_del(mpls_label_t label) override;

 private:
   MplsVrfLabelTable table_;

   mutable Operation resync_init_;
   mutable Operation resync_complete_;
   mutable Operation iter_;
   mutable Operation read_;
   mutable Operation set_;
   mutable Operation del_;
};

}  // namespace velm::embedded
