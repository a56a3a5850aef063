#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>

#include "platform/velm/attribute.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/mpls.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The action on a packet that matches a route.
enum class ip_route_action_t : std::uint8_t { none = 0, drop = 1, forward = 2, nexthop_group = 3 };
constexpr auto last_value(ip_route_action_t) { return ip_route_action_t::nexthop_group; }

/// Identifies an IP route within its VRF: prefix and administrative preference (lower wins).
class ip_route_key_t {
 public:
   ip_route_key_t() = default;
   explicit ip_route_key_t(ip_prefix_t const& prefix) : prefix_(prefix) {}

   ip_prefix_t const& prefix() const { return prefix_; }
   void prefix_is(ip_prefix_t const& prefix) { prefix_ = prefix; }
   unsigned char preference() const { return preference_; }
   void preference_is(unsigned char preference) { preference_ = preference; }

   auto operator<=>(ip_route_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"prefix", &ip_route_key_t::prefix_},
                        attribute{"preference", &ip_route_key_t::preference_}};
   }

 private:
   ip_prefix_t prefix_;
   unsigned char preference_ = 1;
};

/// An IP route without its vias.
class ip_route_t {
 public:
   ip_route_t() = default;
   explicit ip_route_t(ip_route_key_t const& key) : key_(key) {}

   ip_route_key_t const& key() const { return key_; }
   void key_is(ip_route_key_t const& key) { key_ = key; }
   /// Tells one client's routes from another's; 0 is no tag.
   std::uint32_t tag() const { return tag_; }
   void tag_is(std::uint32_t tag) { tag_ = tag; }

   auto operator<=>(ip_route_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"key", &ip_route_t::key_}, attribute{"tag", &ip_route_t::tag_}};
   }

 private:
   ip_route_key_t key_;
   std::uint32_t tag_ = 0;
};

/// One way on from a route: a nexthop group, or an address, an interface and what is done to the packet.
class ip_route_via_t {
 public:
   ip_route_via_t() = default;
   explicit ip_route_via_t(ip_route_key_t const& key) : route_key_(key) {}

   ip_route_key_t const& route_key() const { return route_key_; }
   void route_key_is(ip_route_key_t const& key) { route_key_ = key; }
   ip_addr_t const& hop() const { return hop_; }
   void hop_is(ip_addr_t const& hop) { hop_ = hop; }
   intf_id_t const& intf() const { return intf_; }
   void intf_is(intf_id_t intf) { intf_ = intf; }
   /// Name of the group that the route leaves through; empty for none.
   std::string const& nexthop_group() const { return nexthop_group_; }
   void nexthop_group_is(std::string const& name) { nexthop_group_ = name; }
   mpls_label_t mpls_label() const { return mpls_label_; }
   void mpls_label_is(mpls_label_t label) { mpls_label_ = label; }
   ip_addr_t const& vtep_addr() const { return vtep_addr_; }
   void vtep_addr_is(ip_addr_t address) { vtep_addr_ = address; }
   std::uint32_t vni() const { return vni_; }
   void vni_is(std::uint32_t vni) { vni_ = vni; }
   eth_addr_t const& router_mac() const { return router_mac_; }
   void router_mac_is(eth_addr_t address) { router_mac_ = address; }
   std::string const& egress_vrf() const { return egress_vrf_; }
   void egress_vrf_is(std::string const& vrf) { egress_vrf_ = vrf; }
   std::uint32_t metric() const { return metric_; }
   void metric_is(std::uint32_t metric) { metric_ = metric; }

   auto operator<=>(ip_route_via_t const&) const = default;
   static constexpr auto attributes() {
      using via = ip_route_via_t;
      return std::tuple{attribute{"route_key", &via::route_key_},
                        attribute{"hop", &via::hop_},
                        attribute{"intf", &via::intf_},
                        attribute{"nexthop_group", &via::nexthop_group_},
                        attribute{"mpls_label", &via::mpls_label_},
                        attribute{"vtep_addr", &via::vtep_addr_},
                        attribute{"vni", &via::vni_},
                        attribute{"router_mac", &via::router_mac_},
                        attribute{"egress_vrf", &via::egress_vrf_},
                        attribute{"metric", &via::metric_}};
   }

 private:
   ip_route_key_t route_key_;
   ip_addr_t hop_;
   intf_id_t intf_;
   std::string nexthop_group_;
   mpls_label_t mpls_label_;
   ip_addr_t vtep_addr_;
   std::uint32_t vni_ = 0;
   eth_addr_t router_mac_;
   std::string egress_vrf_;
   std::uint32_t metric_ = 0;
};

using ip_route_iter_impl = iter_impl<ip_route_t>;
using ip_route_iter_t = iter_base<ip_route_t, ip_route_iter_impl>;
using ip_route_via_iter_impl = iter_impl<ip_route_via_t>;
using ip_route_via_iter_t = iter_base<ip_route_via_t, ip_route_via_iter_impl>;

/// The IP routing table as agents see it, one per VRF; operations without a VRF work on the default one, which is also
/// that of the empty name. Thread-safe: each operation is atomic; hold sdk_scoped_lock to make several calls one step.
class ip_route_mgr {
 public:
   virtual ~ip_route_mgr() = default;

   /// The tag whose routes the next resync is about; 0 for all routes. Routes keep the tags that they were set with.
   virtual std::uint32_t tag() const = 0;
   virtual void tag_is(std::uint32_t tag) = 0;

   /// Marks every route of the tag in force, and its vias; setting one clears its mark. A second call marks anew.
   virtual void resync_init() = 0;
   /// Deletes the routes that are still marked, and of those that stay the vias that are, in all VRFs or, on an error,
   /// none. Without a resync that was opened nothing happens.
   virtual void resync_complete() = 0;

   /// Walks the default VRF by prefix, then preference.
   virtual ip_route_iter_t ip_route_iter() const = 0;
   /// The vias of a route in the order in which they were set; none for an unknown route.
   virtual ip_route_via_iter_t ip_route_via_iter(ip_route_key_t const& key) const = 0;
   virtual ip_route_via_iter_t ip_route_via_iter(ip_route_key_t const& key, std::string const& vrf) const = 0;

   // A via exists if one that is alike in all but the metric does.
   virtual bool exists(ip_route_key_t const& key) const = 0;
   virtual bool exists(ip_route_key_t const& key, std::string const& vrf) const = 0;
   virtual bool exists(ip_route_via_t const& via) const = 0;
   virtual bool exists(ip_route_via_t const& via, std::string const& vrf) const = 0;
   /// exists(key) under its other name.
   bool ip_route_exists(ip_route_key_t const& key) const { return exists(key); }

   /// Throws invalid_argument_error for an unknown route.
   virtual ip_route_t ip_route(ip_route_key_t const& key) const = 0;
   virtual ip_route_t ip_route(ip_route_key_t const& key, std::string const& vrf) const = 0;

   /// Creates the route or replaces its attributes; its vias stay. Without an action a new route has none and an
   /// existing one keeps its own. Throws invalid_range_error for a prefix longer than its family; nothing has changed
   /// then.
   virtual void ip_route_set(ip_route_t const& route) = 0;
   virtual void ip_route_set(ip_route_t const& route, ip_route_action_t action) = 0;
   virtual void ip_route_set(ip_route_t const& route, std::string const& vrf) = 0;
   /// Deletes the route and its vias; one that is absent is no error.
   virtual void ip_route_del(ip_route_key_t const& key) = 0;
   virtual void ip_route_del(ip_route_key_t const& key, std::string const& vrf) = 0;

   /// Adds the via to its route, or updates the metric of the via that is alike in all else. A via that names a nexthop
   /// group replaces every via of its route; one without replaces a via that names one. Throws configuration_error if
   /// there is no such route, invalid_range_error for a prefix longer than its family.
   virtual void ip_route_via_set(ip_route_via_t const& via) = 0;
   virtual void ip_route_via_set(ip_route_via_t const& via, std::string const& vrf) = 0;
   /// Removes the via that is alike in all but the metric; one that is absent is no error.
   virtual void ip_route_via_del(ip_route_via_t const& via) = 0;
   virtual void ip_route_via_del(ip_route_via_t const& via, std::string const& vrf) = 0;
};

}  // namespace velm
