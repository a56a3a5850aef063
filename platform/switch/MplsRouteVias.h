#pragma once

#include <absl/container/inlined_vector.h>

#include <vector>

#include "platform/switch/Codec.h"
#include "platform/switch/NamePool.h"
#include "platform/velm/mpls_route.h"

namespace velm::embedded {

/// The vias of one MPLS route, told by all of their attributes, each with a resync mark of its own. They do not repeat
/// the route's key, and the one that nearly every route has lies in the row.
class MplsRouteVias {
 public:
   /// Adds the via after the others, or clears the mark of the one that is alike.
   void set(mpls_route_via_t const& via, NamePool& names);
   void del(mpls_route_via_t const& via);
   bool holds(mpls_route_via_t const& via) const;

   /// Whether one names a hop and no interface.
   bool anyByHopAlone() const;

   void mark(bool marked);
   bool anyMarked() const;
   void dropMarked();

   /// The vias in the order in which they were set, each with the key as its route's.
   std::vector<mpls_route_via_t> list(mpls_route_key_t const& key) const;

   /// Throws DamagedState.
   friend void decode(StoredBytes& in, MplsRouteVias& vias, NamePool& names);

 private:
   struct Via {
      ip_addr_t hop;
      mpls_action_t action;
      mpls_ttl_mode_t ttlMode;
      mpls_payload_type_t payloadType;
      intf_id_t intf;
      mpls_label_t label;
      bool skipEgressAcl;
      bool marked;
      NamePool::Ref group;  // none for a via that names none
   };

   static Via packed(mpls_route_via_t const& via, NamePool& names);
   static bool alike(Via const& stored, mpls_route_via_t const& via);

   absl::InlinedVector<Via, 1> vias_;
};

}  // namespace velm::embedded
