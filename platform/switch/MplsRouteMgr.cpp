#include "platform/switch/MplsRouteMgr.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/switch/Iterators.h"

// Each route has a FEC, whose id is unique while the route lives. A million routes would need an index of a million
// ids, so nearly all ids follow from the route's label:
//
//    1 to 1048576     the label + 1, of a route of one label and metric 0: no index, either is computed from the other
//    from 1048577     counted up, for all other routes; these ids alone are indexed, in fecs_
//
// State folders of an earlier kind may hold any id under any route, which is why even a label's own id is given only if
// it is free, and why fecs_ holds each id that its route does not explain.
//
// The folder comes first in each operation: the index and the events follow only when the table has changed, so that a
// refused change leaves no trace.
namespace velm::embedded {
namespace {

constexpr unsigned long lastLabelFec = mpls_label_t::max + 1;

// Nearly every route has one label and no metric. Its FEC's id follows from the label, and finds the route without an
// index.
mpls_fec_id_t fecOfLabel(MplsRowKey const& key) {
   bool const plain = key.labels().size() == 1 && key.metric() == 0;
   return mpls_fec_id_t(plain ? key.labels().front().label() + 1 : 0);
}

MplsRowKey keyOfLabelFec(mpls_fec_id_t fec) {
   if (fec == mpls_fec_id_t() || fec.id() > lastLabelFec) return {};
   return MplsRowKey({mpls_label_t(static_cast<std::uint32_t>(fec.id() - 1)), 0});
}

}  // namespace

void encode(std::string& out, MplsRowKey const& key, MplsRoute const& route) {
   encode(out, route.fec);
   encode(out, route.vias.list(key.key()));
}

MplsRouteMgr::MplsRouteMgr(CallLedger& ledger, MainLoop& loop)
   : loop_(loop), lastFec_(lastLabelFec), operations_(ledger) {}

void MplsRouteMgr::storeIs(Store& store) {
   table_.storeIs(store, StoredTable::mplsRoutes, [this](StoredBytes& in, MplsRoute& route) {
      decode(in, route.fec);
      decode(in, route.vias, names_);
   });
   fecs_.clear();
   table_.each([&](MplsRowKey const& key, MplsRoute const& route) { fecIs(key, route.fec); });
}

mpls_fec_id_t MplsRouteMgr::freshFec(MplsRowKey const& key) const {
   auto const own = fecOfLabel(key);
   // Folders know routes that took their ids from one sequence.
   return own != mpls_fec_id_t() && !fecs_.contains(own) ? own : mpls_fec_id_t(lastFec_.id() + 1);
}

void MplsRouteMgr::fecIs(MplsRowKey const& key, mpls_fec_id_t fec) {
   if (fec == fecOfLabel(key)) return;
   fecs_.emplace(fec, key);
   lastFec_ = std::max(lastFec_, fec);
}

void MplsRouteMgr::fecDel(MplsRowKey const& key, mpls_fec_id_t fec) {
   if (fec != fecOfLabel(key)) fecs_.erase(fec);
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
   Call const call(operations_);
   table_.markAll(call);
}

void MplsRouteMgr::resync_complete() {
   Call const call(operations_);
   // Collected before the purge, which is when their rows can still be read, and used after it, for it may be refused.
   // Half a million may go at once; nearly all of them leave nothing to do, unless somebody watches.
   bool const told = watched();
   std::vector<std::pair<MplsRowKey, mpls_fec_id_t>> gone;
   table_.eachMarked([&](MplsRowKey const& key, MplsRoute const& route) {
      if (told || route.fec != fecOfLabel(key)) gone.emplace_back(key, route.fec);
   });
   table_.purge(call);
   for (auto const& [key, fec] : gone) {
      fecDel(key, fec);
      if (told) raiseDel(key.key(), fec);
   }
}

void MplsRouteMgr::prefetch(std::span<mpls_route_key_t const> keys) const {
   sdk_scoped_lock const lock;
   std::vector<MplsRowKey> const rows(keys.begin(), keys.end());
   table_.prefetch(rows);
}

mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](MplsRowKey const& key, MplsRoute const&) { return mpls_route_t(key.key()); });
}

mpls_route_status_iter_t MplsRouteMgr::mpls_route_status_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](MplsRowKey const& key, MplsRoute const&) { return key.key(); });
}

mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(mpls_route_key_t const& key) const {
   Call const call(operations_);
   MplsRowKey const rowKey(key);
   return iterOfVias(rowKey, table_.find(rowKey));
}

mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(mpls_route_key_t const& key) const {
   Call const call(operations_);
   MplsRowKey const rowKey(key);
   return iterOfVias(rowKey, table_.find(rowKey));
}

mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(mpls_fec_id_t fec) const {
   Call const call(operations_);
   auto const it = fecs_.find(fec);
   MplsRowKey const key = it == fecs_.end() ? keyOfLabelFec(fec) : it->second;
   MplsRoute const* route = table_.find(key);
   return iterOfVias(key, route != nullptr && route->fec == fec ? route : nullptr);
}

mpls_route_via_iter_t MplsRouteMgr::iterOfVias(MplsRowKey const& key, MplsRoute const* route) const {
   return makeSnapshotIter(route == nullptr ? std::vector<mpls_route_via_t>() : route->vias.list(key.key()),
                           [this](mpls_route_via_t const& via) { return holds(via); });
}

bool MplsRouteMgr::exists(mpls_route_key_t const& key) const {
   Call const call(operations_);
   return find(key) != nullptr;
}

bool MplsRouteMgr::exists(mpls_route_via_t const& via) const {
   Call const call(operations_);
   return holds(via);
}

bool MplsRouteMgr::holds(mpls_route_via_t const& via) const {
   MplsRoute const* route = find(via.route_key());
   return route != nullptr && route->vias.holds(via);
}

void MplsRouteMgr::mpls_route_set(mpls_route_t const& route) {
   Call const call(operations_);
   MplsRowKey const key(route.key());
   mpls_fec_id_t fec;
   bool fresh = false;
   table_.update(call, key, [&](MplsRoute& row) {
      fresh = row.fec == mpls_fec_id_t();
      if (fresh) row.fec = freshFec(key);
      fec = row.fec;
   });
   if (fresh) fecIs(key, fec);
   raiseSet(route.key(), fec);
}

void MplsRouteMgr::mpls_route_del(mpls_route_key_t const& key) {
   Call const call(operations_);
   MplsRowKey const rowKey(key);
   MplsRoute const* route = table_.find(rowKey);
   if (route == nullptr) return;
   auto const fec = route->fec;
   table_.del(call, rowKey);
   fecDel(rowKey, fec);
   raiseDel(key, fec);
}

void MplsRouteMgr::mpls_route_via_set(mpls_route_via_t const& via) {
   Call const call(operations_);
   bool const found =
      table_.amend(call, MplsRowKey(via.route_key()), [&](MplsRoute& route) { route.vias.set(via, names_); });
   if (!found) throw configuration_error(fmt::format("no such MPLS route {}", via.route_key().to_string()));
}

void MplsRouteMgr::mpls_route_via_del(mpls_route_via_t const& via) {
   Call const call(operations_);
   if (!holds(via)) return;
   table_.amend(call, MplsRowKey(via.route_key()), [&](MplsRoute& route) { route.vias.del(via); });
}

mpls_fec_id_t MplsRouteMgr::fec_id(mpls_route_key_t const& key) const {
   Call const call(operations_);
   MplsRoute const* route = find(key);
   return route == nullptr ? mpls_fec_id_t() : route->fec;
}

std::uint32_t MplsRouteMgr::metric(mpls_route_key_t const& key) const {
   Call const call(operations_);
   return find(key) != nullptr ? key.metric() : 0;
}

MplsVrfLabelMgr::MplsVrfLabelMgr(CallLedger& ledger) : operations_(ledger) {}

void MplsVrfLabelMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::mplsVrfLabels); }

void MplsVrfLabelMgr::resync_init() {
   Call const call(operations_);
   table_.markAll(call);
}

void MplsVrfLabelMgr::resync_complete() {
   Call const call(operations_);
   table_.purge(call);
}

void MplsVrfLabelMgr::prefetch(std::span<mpls_label_t const> labels) const {
   sdk_scoped_lock const lock;
   table_.prefetch(labels);
}

mpls_vrf_label_iter_t MplsVrfLabelMgr::mpls_vrf_label_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](mpls_label_t const&, mpls_vrf_label_t const& entry) { return entry; });
}

mpls_vrf_label_t MplsVrfLabelMgr::mpls_vrf_label(mpls_label_t label) const {
   Call const call(operations_);
   mpls_vrf_label_t const* entry = table_.find(label);
   return entry == nullptr ? mpls_vrf_label_t(label, {}) : *entry;
}

void MplsVrfLabelMgr::mpls_vrf_label_set(mpls_vrf_label_t const& entry) {
   Call const call(operations_);
   if (entry.vrf_name().empty()) {  // reads as no entry
      throw invalid_argument_error(fmt::format("MPLS label {} names no VRF", entry.label().label()));
   }
   table_.set(call, entry.label(), entry);
}

void MplsVrfLabelMgr::mpls_vrf_label_del(mpls_label_t label) {
   Call const call(operations_);
   table_.del(call, label);
}

}  // namespace velm::embedded
