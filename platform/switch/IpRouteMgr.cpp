#include "platform/switch/IpRouteMgr.h"

#include <fmt/format.h>

#include <utility>

#include "platform/switch/Iterators.h"

// A table for each VRF, made when the first route of the VRF is set and never taken away, since iterators refer to it.
// All of them are stored under one table's byte, each with its VRF's name at the front of its keys.
//
// A resync replaces what an agent of the same tag programmed before, without a moment at which a wanted route is
// missing:
//
//    resync_init ----------> routes of the tag are marked with their vias; with tag 0 all are. Other marks are cleared
//    ip_route_set ---------> the route's mark is cleared, the marks of its vias stay
//    ip_route_via_set -----> the via's mark is cleared, the route's stays
//    resync_complete ------> marked routes and marked vias go, in one transaction over all VRFs
//
// If the folder refuses the last step, marks and resync stay, and it can be asked for again. Routes have no events, so
// nothing is posted here.
namespace velm::embedded {
namespace {

bool holdsVia(IpRouteTable const& table, ip_route_via_t const& via) {
   IpRoute const* route = table.find(via.route_key());
   return route != nullptr && route->vias.holds(via);
}

ip_route_t routeOf(ip_route_key_t const& key, IpRoute const& row) {
   ip_route_t route(key);
   route.tag_is(row.tag);
   return route;
}

ip_route_t readRoute(IpRouteTable const& table, ip_route_key_t const& key) {
   IpRoute const* row = table.find(key);
   if (row == nullptr) throw invalid_argument_error(fmt::format("no such route {}", key.prefix().to_string()));
   return routeOf(key, *row);
}

void bindTable(IpRouteTable& table, Store& store, std::string const& vrf) {
   std::string front;
   encode(front, vrf);
   table.bind(store, StoredTable::ipRoutes, front);
}

}  // namespace

void encode(std::string& out, IpRoute const& route) {
   encode(out, route.tag);
   encode(out, route.action);
   encode(out, route.vias);
}

IpRouteMgr::IpRouteMgr(CallLedger& ledger) : defaultVrf_(vrfs_[""]), operations_(ledger) {}

IpRouteTable const& IpRouteMgr::table(std::string const& vrf) const {
   if (vrf.empty()) return defaultVrf_;
   auto const it = vrfs_.find(vrf);
   return it == vrfs_.end() ? noVrf_ : it->second;
}

void IpRouteMgr::dataplaneIs(Dataplane& dataplane) {
   dataplane_ = &dataplane;
   defaultVrf_.carrierIs(dataplane.routes(""));
}

void IpRouteMgr::storeIs(Store& store) {
   store_ = &store;
   for (auto& [vrf, table] : vrfs_) bindTable(table, store, vrf);
   store.load(StoredTable::ipRoutes, [&](std::string_view storedKey, std::string_view storedValue) {
      StoredBytes keyBytes(storedKey);
      StoredBytes valueBytes(storedValue);
      std::string vrf;
      ip_route_key_t key;
      decode(keyBytes, vrf);
      decode(keyBytes, key);
      IpRoute route;
      decode(valueBytes, route.tag);
      decode(valueBytes, route.action);
      decode(valueBytes, route.vias, names_);
      keyBytes.expectEnd();
      valueBytes.expectEnd();
      made(vrf).restore(key, std::move(route));
   });
}

IpRouteTable& IpRouteMgr::made(std::string const& vrf) {
   if (auto const it = vrfs_.find(vrf); it != vrfs_.end()) return it->second;
   auto* const carrier = dataplane_->routes(vrf);  // may refuse one VRF more
   auto& table = vrfs_[vrf];
   table.carrierIs(carrier);
   if (store_ != nullptr) bindTable(table, *store_, vrf);
   return table;
}

IpRouteTable& IpRouteMgr::known(std::string const& vrf) { return const_cast<IpRouteTable&>(table(vrf)); }

std::uint32_t IpRouteMgr::tag() const {
   Call const call(operations_);
   return tag_;
}

void IpRouteMgr::tag_is(std::uint32_t tag) {
   Call const call(operations_);
   tag_ = tag;
}

void IpRouteMgr::resync_init() {
   Call const call(operations_);
   resyncing_ = true;
   for (auto& [vrf, table] : vrfs_) {
      table.mark(call, [&](ip_route_key_t const&, IpRoute const& route) { return tag_ == 0 || route.tag == tag_; });
   }
}

void IpRouteMgr::resync_complete() {
   Call const call(operations_);
   if (!resyncing_) return;
   Transaction transaction(call);
   for (auto& [vrf, table] : vrfs_) table.purge(transaction);
   transaction.commit();
   resyncing_ = false;
}

void IpRouteMgr::prefetch(std::span<ip_route_key_t const> keys, std::string const& vrf) const {
   sdk_scoped_lock const lock;
   table(vrf).prefetch(keys);
   dataplane_->prefetch(keys, vrf);
}

ip_route_iter_t IpRouteMgr::ip_route_iter() const {
   Call const call(operations_);
   return makeTableIter(defaultVrf_, routeOf);
}

ip_route_via_iter_t IpRouteMgr::ip_route_via_iter(ip_route_key_t const& key) const {
   return ip_route_via_iter(key, {});
}
ip_route_via_iter_t IpRouteMgr::ip_route_via_iter(ip_route_key_t const& key, std::string const& vrf) const {
   Call const call(operations_);
   auto const& routes = table(vrf);
   IpRoute const* route = routes.find(key);
   return makeSnapshotIter(route == nullptr ? std::vector<ip_route_via_t>() : route->vias.list(key),
                           [&routes](ip_route_via_t const& via) { return holdsVia(routes, via); });
}

bool IpRouteMgr::exists(ip_route_key_t const& key) const { return exists(key, {}); }
bool IpRouteMgr::exists(ip_route_key_t const& key, std::string const& vrf) const {
   Call const call(operations_);
   return table(vrf).contains(key);
}

bool IpRouteMgr::exists(ip_route_via_t const& via) const { return exists(via, {}); }
bool IpRouteMgr::exists(ip_route_via_t const& via, std::string const& vrf) const {
   Call const call(operations_);
   return holdsVia(table(vrf), via);
}

ip_route_t IpRouteMgr::ip_route(ip_route_key_t const& key) const { return ip_route(key, {}); }
ip_route_t IpRouteMgr::ip_route(ip_route_key_t const& key, std::string const& vrf) const {
   Call const call(operations_);
   return readRoute(table(vrf), key);
}

void IpRouteMgr::set(Call const& call, IpRouteTable& table, ip_route_t const& route, ip_route_action_t const* action) {
   table.update(call, route.key(), [&](IpRoute& row) {
      row.tag = route.tag();
      if (action != nullptr) row.action = *action;
   });
}

void IpRouteMgr::ip_route_set(ip_route_t const& route) { ip_route_set(route, std::string()); }
void IpRouteMgr::ip_route_set(ip_route_t const& route, ip_route_action_t action) {
   Call const call(operations_);
   check_length(route.key().prefix());
   set(call, defaultVrf_, route, &action);
}
void IpRouteMgr::ip_route_set(ip_route_t const& route, std::string const& vrf) {
   Call const call(operations_);
   check_length(route.key().prefix());
   set(call, vrf.empty() ? defaultVrf_ : made(vrf), route, nullptr);
}

void IpRouteMgr::ip_route_del(ip_route_key_t const& key) { ip_route_del(key, {}); }
void IpRouteMgr::ip_route_del(ip_route_key_t const& key, std::string const& vrf) {
   Call const call(operations_);
   known(vrf).del(call, key);
}

void IpRouteMgr::ip_route_via_set(ip_route_via_t const& via) { ip_route_via_set(via, {}); }
void IpRouteMgr::ip_route_via_set(ip_route_via_t const& via, std::string const& vrf) {
   Call const call(operations_);
   check_length(via.route_key().prefix());
   bool const found = known(vrf).amend(call, via.route_key(), [&](IpRoute& route) { route.vias.set(via, names_); });
   if (!found) throw configuration_error(fmt::format("no such route {}", via.route_key().prefix().to_string()));
}

void IpRouteMgr::ip_route_via_del(ip_route_via_t const& via) { ip_route_via_del(via, {}); }
void IpRouteMgr::ip_route_via_del(ip_route_via_t const& via, std::string const& vrf) {
   Call const call(operations_);
   auto& table = known(vrf);
   if (holdsVia(table, via)) table.amend(call, via.route_key(), [&](IpRoute& route) { route.vias.del(via); });
}

}  // namespace velm::embedded
