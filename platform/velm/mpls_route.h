#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/mpls.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The payload under the last label.
enum class mpls_payload_type_t : std::uint8_t { undefined = 0, autodecide = 1, ipv4 = 2, ipv6 = 3, mpls = 4 };
constexpr auto last_value(mpls_payload_type_t) { return mpls_payload_type_t::mpls; }
/// The treatment of the TTL when a label is taken off.
enum class mpls_ttl_mode_t : std::uint8_t { undefined = 0, pipe = 1, uniform = 2 };
constexpr auto last_value(mpls_ttl_mode_t) { return mpls_ttl_mode_t::uniform; }

/// Identifies an MPLS route: the labels it matches, outermost first, and its metric.
class mpls_route_key_t {
 public:
   mpls_route_key_t() = default;
   mpls_route_key_t(mpls_label_t label, unsigned char metric) : labels_{label}, metric_(metric) {}
   mpls_route_key_t(std::vector<mpls_label_t> const& labels, unsigned char metric) : labels_(labels), metric_(metric) {}

   std::vector<mpls_label_t> const& labels() const { return labels_; }
   unsigned char metric() const { return metric_; }
   std::size_t hash() const;
   /// "100 200 metric 5".
   std::string to_string() const;

   auto operator<=>(mpls_route_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"labels", &mpls_route_key_t::labels_},
                        attribute{"metric", &mpls_route_key_t::metric_}};
   }

 private:
   std::vector<mpls_label_t> labels_;
   unsigned char metric_ = 0;
};

/// An MPLS route without its vias.
class mpls_route_t {
 public:
   mpls_route_t() = default;
   explicit mpls_route_t(mpls_route_key_t key) : key_(std::move(key)) {}

   mpls_route_key_t const& key() const { return key_; }

   auto operator<=>(mpls_route_t const&) const = default;
   static constexpr auto attributes() { return std::tuple{attribute{"key", &mpls_route_t::key_}}; }

 private:
   mpls_route_key_t key_;
};

/// One way on from an MPLS route.
class mpls_route_via_t {
 public:
   mpls_route_via_t() = default;
   explicit mpls_route_via_t(mpls_route_key_t key) : route_key_(std::move(key)) {}
   mpls_route_via_t(mpls_route_key_t key, mpls_action_t action) : route_key_(std::move(key)), label_action_(action) {}

   mpls_route_key_t const& route_key() const { return route_key_; }
   ip_addr_t const& hop() const { return hop_; }
   void hop_is(ip_addr_t const& hop) { hop_ = hop; }
   intf_id_t const& intf() const { return intf_; }
   void intf_is(intf_id_t const& intf) { intf_ = intf; }
   mpls_label_t pushswap_label() const { return pushswap_label_; }
   void pushswap_label_is(mpls_label_t label) { pushswap_label_ = label; }
   mpls_action_t label_action() const { return label_action_; }
   void label_action_is(mpls_action_t action) { label_action_ = action; }
   mpls_ttl_mode_t ttl_mode() const { return ttl_mode_; }
   void ttl_mode_is(mpls_ttl_mode_t mode) { ttl_mode_ = mode; }
   mpls_payload_type_t payload_type() const { return payload_type_; }
   void payload_type_is(mpls_payload_type_t type) { payload_type_ = type; }
   bool skip_egress_acl() const { return skip_egress_acl_; }
   void skip_egress_acl_is(bool skip) { skip_egress_acl_ = skip; }
   std::string const& nexthop_group() const { return nexthop_group_; }
   void nexthop_group_is(std::string name) { nexthop_group_ = std::move(name); }

   auto operator<=>(mpls_route_via_t const&) const = default;
   static constexpr auto attributes() {
      using via = mpls_route_via_t;
      return std::tuple{attribute{"route_key", &via::route_key_},
                        attribute{"hop", &via::hop_},
                        attribute{"intf", &via::intf_},
                        attribute{"pushswap_label", &via::pushswap_label_},
                        attribute{"label_action", &via::label_action_},
                        attribute{"ttl_mode", &via::ttl_mode_},
                        attribute{"payload_type", &via::payload_type_},
                        attribute{"skip_egress_acl", &via::skip_egress_acl_},
                        attribute{"nexthop_group", &via::nexthop_group_}};
   }

 private:
   mpls_route_key_t route_key_;
   ip_addr_t hop_;
   intf_id_t intf_;
   mpls_label_t pushswap_label_;
   mpls_action_t label_action_ = mpls_action_t::none;
   mpls_ttl_mode_t ttl_mode_ = mpls_ttl_mode_t::undefined;
   mpls_payload_type_t payload_type_ = mpls_payload_type_t::undefined;
   bool skip_egress_acl_ = false;
   std::string nexthop_group_;
};

/// A label that is popped, and the VRF in which the packet is then looked up.
class mpls_vrf_label_t {
 public:
   mpls_vrf_label_t() = default;
   mpls_vrf_label_t(mpls_label_t label, std::string vrf_name) : label_(label), vrf_name_(std::move(vrf_name)) {}

   mpls_label_t label() const { return label_; }
   /// Empty for a label without an entry.
   std::string const& vrf_name() const { return vrf_name_; }

   auto operator<=>(mpls_vrf_label_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"label", &mpls_vrf_label_t::label_},
                        attribute{"vrf_name", &mpls_vrf_label_t::vrf_name_}};
   }

 private:
   mpls_label_t label_;
   std::string vrf_name_;
};

using mpls_route_iter_impl = iter_impl<mpls_route_t>;
using mpls_route_iter_t = iter_base<mpls_route_t, mpls_route_iter_impl>;
using mpls_route_status_iter_impl = iter_impl<mpls_route_key_t>;
using mpls_route_status_iter_t = iter_base<mpls_route_key_t, mpls_route_status_iter_impl>;
using mpls_route_via_iter_impl = iter_impl<mpls_route_via_t>;
using mpls_route_via_iter_t = iter_base<mpls_route_via_t, mpls_route_via_iter_impl>;
using mpls_route_via_status_iter_impl = iter_impl<mpls_route_via_t>;
using mpls_route_via_status_iter_t = iter_base<mpls_route_via_t, mpls_route_via_status_iter_impl>;
using mpls_vrf_label_iter_impl = iter_impl<mpls_vrf_label_t>;
using mpls_vrf_label_iter_t = iter_base<mpls_vrf_label_t, mpls_vrf_label_iter_impl>;

class mpls_route_mgr;

/// Receives the events of MPLS routes and of their FECs, on the main loop. Of one change the route's event comes first.
class mpls_route_handler : public base_handler<mpls_route_mgr, mpls_route_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_mpls_routes(bool on);

   /// The route was set, whether it is new or not.
   virtual void on_mpls_route_set(mpls_route_key_t const& key, mpls_fec_id_t fec) {
      if (key.labels().size() == 1) on_mpls_route_set(key.labels().front(), fec);
   }
   /// The route is gone.
   virtual void on_mpls_route_del(mpls_route_key_t const& key) {
      if (key.labels().size() == 1) on_mpls_route_del(key.labels().front());
   }
   // The FEC came with its route or went with it; either comes right after the event of the route.
   virtual void on_mpls_fec_set(mpls_fec_id_t /*fec*/) {}
   virtual void on_mpls_fec_del(mpls_fec_id_t /*fec*/) {}

   // The older form of the events, for routes of one label; not called where the form above is overridden.
   virtual void on_mpls_route_set(mpls_label_t /*label*/, mpls_fec_id_t /*fec*/) {}
   virtual void on_mpls_route_del(mpls_label_t /*label*/) {}
};

/// The MPLS routes of the switch. Thread-safe: each operation is atomic.
///
/// Each route has a FEC, whose id is the route's alone while the route lives. Setting and deleting a route, be it by a
/// resync, raises the events of the route and of its FEC; vias raise none.
class mpls_route_mgr : public base_mgr<mpls_route_handler, mpls_route_key_t> {
 public:
   virtual ~mpls_route_mgr() = default;

   /// Marks every route and via; setting one clears its mark.
   virtual void resync_init() = 0;
   /// Deletes the routes that are still marked, and of those that stay the vias that are.
   virtual void resync_complete() = 0;

   virtual mpls_route_iter_t mpls_route_iter() const = 0;
   /// The routes that the switch has programmed.
   virtual mpls_route_status_iter_t mpls_route_status_iter() const = 0;
   /// The vias of a route in the order in which they were set; none for an unknown route.
   virtual mpls_route_via_iter_t mpls_route_via_iter(mpls_route_key_t const& key) const = 0;
   /// The vias that the switch has programmed, by the route or by its FEC.
   virtual mpls_route_via_status_iter_t mpls_route_via_status_iter(mpls_route_key_t const& key) const = 0;
   virtual mpls_route_via_status_iter_t mpls_route_via_status_iter(mpls_fec_id_t fec) const = 0;

   virtual bool exists(mpls_route_key_t const& key) const = 0;
   /// A via is told by all of its attributes.
   virtual bool exists(mpls_route_via_t const& via) const = 0;

   /// Creates the route; the vias of one that exists stay.
   virtual void mpls_route_set(mpls_route_t const& route) = 0;
   /// Deletes the route and its vias; one that is absent is no error.
   virtual void mpls_route_del(mpls_route_key_t const& key) = 0;
   /// Adds the via after the others; one that is there stays. Throws configuration_error if there is no such route.
   virtual void mpls_route_via_set(mpls_route_via_t const& via) = 0;
   /// Removes the via. A via or a route that is absent is no error.
   virtual void mpls_route_via_del(mpls_route_via_t const& via) = 0;

   /// 0 for an unknown route.
   virtual mpls_fec_id_t fec_id(mpls_route_key_t const& key) const = 0;
   /// 0 for an unknown route.
   virtual std::uint32_t metric(mpls_route_key_t const& key) const = 0;
};

inline void mpls_route_handler::watch_all_mpls_routes(bool on) { get_mgr()->watch_all(this, on); }

/// The labels that are popped and looked up in a VRF. Thread-safe: each operation is atomic.
class mpls_vrf_label_mgr {
 public:
   virtual ~mpls_vrf_label_mgr() = default;

   /// Marks every entry; setting one clears its mark.
   virtual void resync_init() = 0;
   /// Deletes the entries that are still marked.
   virtual void resync_complete() = 0;
   virtual mpls_vrf_label_iter_t mpls_vrf_label_iter() const = 0;

   /// The entry of the label; its VRF name is empty if there is none.
   virtual mpls_vrf_label_t mpls_vrf_label(mpls_label_t label) const = 0;
   /// Creates or replaces. Throws invalid_argument_error for an entry without a VRF name.
   virtual void mpls_vrf_label_set(mpls_vrf_label_t const& entry) = 0;
   /// Deleting one that is absent is no error.
   virtual void mpls_vrf_label_del(mpls_label_t label) = 0;
};

}  // namespace velm

template <>
struct std::hash<velm::mpls_route_key_t> {
   std::size_t operator()(velm::mpls_route_key_t const& key) const noexcept { return key.hash(); }
};
