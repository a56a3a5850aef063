#include "platform/switch/MplsRouteMgr.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/switch/Iterators.h"

namespace velm::embedded {

MplsRouteMgr::MplsRouteMgr(CallLedger& ledger, MainLoop& loop)
   : loop_(loop),
     resync_init_(ledger, "mpls_route_mgr.resync_init"),
     resync_complete_(ledger, "mpls_route_mgr.resync_complete"),
     iter_(ledger, "mpls_route_mgr.mpls_route_iter"),
     status_iter_(ledger, "mpls_route_mgr.mpls_route_status_iter"),
     via_iter_(ledger, "mpls_route_mgr.mpls_route_via_iter"),
     via_status_iter_(ledger, "mpls_route_mgr.mpls_route_via_status_iter"),
     exists_(ledger, "mpls_route_mgr.exists"),
     set_(ledger, "mpls_route_mgr.mpls_route_set"),
     del_(ledger, "mpls_route_mgr.mpls_route_del"),
     via_set_(ledger, "mpls_route_mgr.mpls_route_via_set"),
     via_del_(ledger, "mpls_route_mgr.mpls_route_via_del"),
     fec_id_(ledger, "mpls_route_mgr.fec_id"),
     metric_(ledger, "mpls_route_mgr.metric") {}

void MplsRouteMgr::storeIs(Store& store) {
   table_.storeIs(store, StoredTable::mplsRoutes);
   fecs_.clear();
   fecs_.reserve(table_.size());
   table_.walk([&](mpls_route_key_t const&, MplsRoute const& route) {
      fecs_.emplace(route.fec, &route);
      lastFec_ = std::max(lastFec_, route.fec);
      return true;
   });
}

void MplsRouteMgr::raiseSet(mpls_route_key_t const& key, mpls_fec_id_t fec) {
   if (!watched()) return;  // a million routes are set in a row
   loop_.post([this, key, fec] {
      notify(key, [&](mpls_route_handler& handler) { handler.on_mpls_route_set(key, fec); });
      notify(key, [&](mpls_route_handler& handler) { handler.on_mpls_fec_set(fec); });
   });
}

void MplsRouteMgr::raiseDel(mpls_route_key_t const& key, mpls_fec_id_t fec) {
   if (!watched()) return;
   loop_.post([this, key, fec] {
      notify(key, [&](mpls_route_handler& handler) { handler.on_mpls_route_del(key); });
      notify(key, [&](mpls_route_handler& handler) { handler.on_mpls_fec_del(fec); });
   });
}

void MplsRouteMgr::simulateFecSet(mpls_fec_id_t fec) {
   loop_.post([this, fec] { notify({}, [&](mpls_route_handler& handler) { handler.on_mpls_fec_set(fec); }); });
}

void MplsRouteMgr::simulateFecDel(mpls_fec_id_t fec) {
   loop_.post([this, fec] { notify({}, [&](mpls_route_handler& handler) { handler.on_mpls_fec_del(fec); }); });
}

void MplsRouteMgr::resync_init() {
   Call const call(resync_init_);
   table_.markAll();
}

void MplsRouteMgr::resync_complete() {
   Call const call(resync_complete_);
   std::vector<std::pair<mpls_route_key_t, mpls_fec_id_t>> gone;
   table_.walkMarked([&](mpls_route_key_t const& key, MplsRoute const& route) { gone.emplace_back(key, route.fec); });
   table_.purge();
   for (auto const& [key, fec] : gone) {
      fecs_.erase(fec);
      raiseDel(key, fec);
   }
}

mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   Call const call(iter_);
   return makeTableIter(table_, [](mpls_route_key_t const& key, MplsRoute const&) { return mpls_route_t(key); });
}

mpls_route_status_iter_t MplsRouteMgr::mpls_route_status_iter() const {
   Call const call(status_iter_);
   return makeTableIter(table_, [](mpls_route_key_t const& key, MplsRoute const&) { return key; });
}

mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(mpls_route_key_t const& key) const {
   Call const call(via_iter_);
   return iterOfVias(table_.find(key));
}

mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(mpls_route_key_t const& key) const {
   Call const call(via_status_iter_);
   return iterOfVias(table_.find(key));
}

mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(mpls_fec_id_t fec) const {
   Call const call(via_status_iter_);
   auto const it = fecs_.find(fec);
   return iterOfVias(it == fecs_.end() ? nullptr : it->second);
}

mpls_route_via_iter_t MplsRouteMgr::iterOfVias(MplsRoute const* route) const {
   return makeSnapshotIter(route == nullptr ? std::vector<mpls_route_via_t>() : plainVias(route->vias),
                           [this](mpls_route_via_t const& via) { return holds(via); });
}

bool MplsRouteMgr::exists(mpls_route_key_t const& key) const {
   Call const call(exists_);
   return table_.contains(key);
}

bool MplsRouteMgr::exists(mpls_route_via_t const& via) const {
   Call const call(exists_);
   return holds(via);
}

bool MplsRouteMgr::holds(mpls_route_via_t const& via) const {
   MplsRoute const* route = table_.find(via.route_key());
   return route != nullptr &&
          std::ranges::find(route->vias, via, &StoredVia<mpls_route_via_t>::via) != route->vias.end();
}

void MplsRouteMgr::mpls_route_set(mpls_route_t const& route) {
   Call const call(set_);
   mpls_fec_id_t const next(lastFec_.id() + 1);
   mpls_fec_id_t fec;
   table_.update(route.key(), [&](MplsRoute& row) {
      if (row.fec == mpls_fec_id_t()) row.fec = next;
      fec = row.fec;
   });
   if (fec == next) {
      lastFec_ = next;
      fecs_.emplace(next, table_.find(route.key()));
   }
   raiseSet(route.key(), fec);
}

void MplsRouteMgr::mpls_route_del(mpls_route_key_t const& key) {
   Call const call(del_);
   MplsRoute const* route = table_.find(key);
   if (route == nullptr) return;
   auto const fec = route->fec;
   table_.del(key);
   fecs_.erase(fec);
   raiseDel(key, fec);
}

void MplsRouteMgr::mpls_route_via_set(mpls_route_via_t const& via) {
   Call const call(via_set_);
   bool const found = table_.amend(via.route_key(), [&](MplsRoute& route) {
      auto const it = std::ranges::find(route.vias, via, &StoredVia<mpls_route_via_t>::via);
      if (it == route.vias.end()) {
         route.vias.push_back({via});
      } else {
         it->marked = false;
      }
   });
   if (!found) throw configuration_error(fmt::format("no such MPLS route {}", via.route_key().to_string()));
}

void MplsRouteMgr::mpls_route_via_del(mpls_route_via_t const& via) {
   Call const call(via_del_);
   if (!holds(via)) return;
   table_.amend(via.route_key(), [&](MplsRoute& route) {
      std::erase_if(route.vias, [&](auto const& stored) { return stored.via == via; });
   });
}

mpls_fec_id_t MplsRouteMgr::fec_id(mpls_route_key_t const& key) const {
   Call const call(fec_id_);
   MplsRoute const* route = table_.find(key);
   return route == nullptr ? mpls_fec_id_t() : route->fec;
}

std::uint32_t MplsRouteMgr::metric(mpls_route_key_t const& key) const {
   Call const call(metric_);
   return table_.contains(key) ? key.metric() : 0;
}

MplsVrfLabelMgr::MplsVrfLabelMgr(CallLedger& ledger)
   : resync_init_(ledger, "mpls_vrf_label_mgr.resync_init"),
     resync_complete_(ledger, "mpls_vrf_label_mgr.resync_complete"),
     iter_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_iter"),
     read_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label"),
     set_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_set"),
     del_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_del") {}

void MplsVrfLabelMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::mplsVrfLabels); }

void MplsVrfLabelMgr::resync_init() {
   Call const call(resync_init_);
   table_.markAll();
}

void MplsVrfLabelMgr::resync_complete() {
   Call const call(resync_complete_);
   table_.purge();
}

mpls_vrf_label_iter_t MplsVrfLabelMgr::mpls_vrf_label_iter() const {
   Call const call(iter_);
   return makeTableIter(table_, [](mpls_label_t const&, mpls_vrf_label_t const& entry) { return entry; });
}

mpls_vrf_label_t MplsVrfLabelMgr::mpls_vrf_label(mpls_label_t label) const {
   Call const call(read_);
   mpls_vrf_label_t const* entry = table_.find(label);
   return entry == nullptr ? mpls_vrf_label_t(label, {}) : *entry;
}

void MplsVrfLabelMgr::mpls_vrf_label_set(mpls_vrf_label_t const& entry) {
   Call const call(set_);
   if (entry.vrf_name().empty()) {  // reads as no entry
      throw invalid_argument_error(fmt::format("MPLS label {} names no VRF", entry.label().label()));
   }
   table_.set(entry.label(), entry);
}

void MplsVrfLabelMgr::mpls_vrf_label_del(mpls_label_t label) {
   Call const call(del_);
   table_.del(label);
}

}  // namespace velm::embedded
