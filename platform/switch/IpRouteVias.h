#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/switch/Codec.h"
#include "platform/switch/NamePool.h"
#include "platform/switch/StoredVia.h"
#include "platform/velm/ip_route.h"

namespace velm::embedded {

/// The vias of one IP route, each with a resync mark of its own. Nearly every route of a million leaves through a
/// nexthop group and says nothing else: such a via is the group's name, kept once for all routes, and needs no list.
class IpRouteVias {
 public:
   /// Adds the via, or replaces the one that is alike in all but the metric. A via that names a group replaces every
   /// other; one without replaces a via that names one.
   void set(ip_route_via_t const& via, NamePool& names);
   /// Removes the via that is alike in all but the metric; whether there was one.
   bool del(ip_route_via_t const& via);
   bool holds(ip_route_via_t const& via) const;

   void mark(bool marked);
   bool anyMarked() const;
   void dropMarked();

   /// The group that the one via names, if it names a group and says nothing else; null for any other vias. The name
   /// stays where it is for as long as a route has it.
   std::string const* group() const { return group_ ? &*group_ : nullptr; }
   /// The vias in the order in which they were set, each with the key as its route's.
   std::vector<ip_route_via_t> list(ip_route_key_t const& key) const;

   IpRouteVias() = default;
   IpRouteVias(IpRouteVias const& other)
      : group_(other.group_),
        others_(other.others_ ? std::make_unique<StoredVias<ip_route_via_t>>(*other.others_) : nullptr),
        groupMarked_(other.groupMarked_) {}
   IpRouteVias(IpRouteVias&&) noexcept = default;
   IpRouteVias& operator=(IpRouteVias&&) noexcept = default;

   friend void encode(std::string& out, IpRouteVias const& vias);
   /// Throws DamagedState.
   friend void decode(StoredBytes& in, IpRouteVias& vias, NamePool& names);

 private:
   // At most one of the first two is set.
   NamePool::Ref group_;                                 // the one via, if it only names a group
   std::unique_ptr<StoredVias<ip_route_via_t>> others_;  // null for none
   bool groupMarked_ = false;
};

}  // namespace velm::embedded
