#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "platform/hints/Prefetcher.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/IpRouteVias.h"
#include "platform/switch/NamePool.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/ip_route.h"

namespace velm::embedded {

/// An IP route as the switch keeps it, under its key.
struct IpRoute {
   [[no_unique_address]] IpRouteVias vias;  // the action lies in its padding: there are a million of these
   ip_route_action_t action = ip_route_action_t::none;
   std::uint32_t tag = 0;

   void mark(bool marked) { vias.mark(marked); }
   bool prunable() const { return vias.anyMarked(); }
   void prune() { vias.dropMarked(); }
};
void encode(std::string& out, IpRoute const& route);
static_assert(sizeof(IpRoute) == 24);
using IpRouteTable = Table<ip_route_key_t, IpRoute>;

/// IP routes, a table per VRF.
class IpRouteMgr : public ip_route_mgr, public Hints::Prefetcher<ip_route_key_t, std::string> {
 public:
   explicit IpRouteMgr(CallLedger& ledger);

   /// The dataplane carries the routes out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane);
   /// Brings the folder's routes back and keeps every change in it.
   void storeIs(Store& store);

   /// The table of a VRF; an empty one for a VRF without routes.
   IpRouteTable const& table(std::string const& vrf) const;

   // The SDK's operations. A resync that the folder refuses to complete stays open and can be completed again.
   std::uint32_t tag() const override;
   void tag_is(std::uint32_t tag) override;
   void resync_init() override;
   void resync_complete() override;
   void prefetch(std::span<ip_route_key_t const> keys, std::string const& vrf) const override;
   ip_route_iter_t ip_route_iter() const override;
   ip_route_via_iter_t ip_route_via_iter(ip_route_key_t const& key) const override;
   ip_route_via_iter_t ip_route_via_iter(ip_route_key_t const& key, std::string const& vrf) const override;
   bool exists(ip_route_key_t const& key) const override;
   bool exists(ip_route_key_t const& key, std::string const& vrf) const override;
   bool exists(ip_route_via_t const& via) const override;
   bool exists(ip_route_via_t const& via, std::string const& vrf) const override;
   ip_route_t ip_route(ip_route_key_t const& key) const override;
   ip_route_t ip_route(ip_route_key_t const& key, std::string const& vrf) const override;
   void ip_route_set(ip_route_t const& route) override;
   void ip_route_set(ip_route_t const& route, ip_route_action_t action) override;
   void ip_route_set(ip_route_t const& route, std::string const& vrf) override;
   void ip_route_del(ip_route_key_t const& key) override;
   void ip_route_del(ip_route_key_t const& key, std::string const& vrf) override;
   void ip_route_via_set(ip_route_via_t const& via) override;
   void ip_route_via_set(ip_route_via_t const& via, std::string const& vrf) override;
   void ip_route_via_del(ip_route_via_t const& via) override;
   void ip_route_via_del(ip_route_via_t const& via, std::string const& vrf) override;

 private:
   /// For changes to routes that exist: an unknown VRF has none.
   IpRouteTable& known(std::string const& vrf);
   /// For new routes.
   IpRouteTable& made(std::string const& vrf);
   static void set(Call const& call, IpRouteTable& table, ip_route_t const& route, ip_route_action_t const* action);

   NamePool names_;                                         // before the tables, whose rows refer to it
   std::map<std::string, IpRouteTable, std::less<>> vrfs_;  // tables never go, so that iterators stay good
   IpRouteTable& defaultVrf_;
   IpRouteTable noVrf_;              // stands in for a VRF that was never set; nothing is ever put into it
   Dataplane* dataplane_ = nullptr;  // set before the first operation
   Store* store_ = nullptr;
   std::uint32_t tag_ = 0;
   bool resyncing_ = false;

   Operations<"ip_route_mgr", "tag", "tag_is", "resync_init", "resync_complete", "ip_route_iter", "ip_route_via_iter",
              "exists", "ip_route", "ip_route_set", "ip_route_del", "ip_route_via_set", "ip_route_via_del">
      operations_;
};

}  // namespace velm::embedded
