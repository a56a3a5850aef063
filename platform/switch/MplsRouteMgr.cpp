#include "platform/switch/MplsRouteMgr.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/switch/Iterators.h"

namespace velm::embedded {

MplsRouteMgr::MplsRouteMgr(CallLedger& ledger)
   : resync_init_(ledger, "mpls_route_mgr.resync_init"),
     resync_complete_(ledger, "mpls_route_mgr.resync_complete"),
     iter_(ledger, "mpls_route_mgr.mpls_route_iter"),
     via_iter_(ledger, "mpls_route_mgr.mpls_route_via_iter"),
     exists_(ledger, "mpls_route_mgr.exists"),
     set_(ledger, "mpls_route_mgr.mpls_route_set"),
     del_(ledger, "mpls_route_mgr.mpls_route_del"),
     via_set_(ledger, "mpls_route_mgr.mpls_route_via_set"),
     via_del_(ledger, "mpls_route_mgr.mpls_route_via_del") {}

void MplsRouteMgr::resync_init() {
   Call const call(resync_init_);
   table_.markAll();
}

void MplsRouteMgr::resync_complete() {
   Call const call(resync_complete_);
   table_.purge();
}

mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   Call const call(iter_);
   return makeTableIter(table_, [](mpls_route_key_t const& key, MplsRoute const&) { return mpls_route_t(key); });
}

mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(mpls_route_key_t const& key) const {
   Call const call(via_iter_);
   MplsRoute const* route = table_.find(key);
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
   table_.update(route.key(), [](MplsRoute&) {});
}

void MplsRouteMgr::mpls_route_del(mpls_route_key_t const& key) {
   Call const call(del_);
   table_.del(key);
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

MplsVrfLabelMgr::MplsVrfLabelMgr(CallLedger& ledger)
   : resync_init_(ledger, "mpls_vrf_label_mgr.resync_init"),
     resync_complete_(ledger, "mpls_vrf_label_mgr.resync_complete"),
     iter_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_iter"),
     read_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label"),
     set_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_set"),
     del_(ledger, "mpls_vrf_label_mgr.mpls_vrf_label_del") {}

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
   table_.set(entry.label(), entry);
}

void MplsVrfLabelMgr::mpls_vrf_label_del(mpls_label_t label) {
   Call const call(del_);
   table_.del(label);
}

}  // namespace velm::embedded
