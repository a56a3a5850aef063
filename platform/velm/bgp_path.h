#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// A family of routes that BGP carries.
enum class bgp_afi_safi_t : std::uint8_t { ipv4_unicast = 1, ipv6_unicast = 2 };

/// At which stage of BGP's work received paths are asked for. Passed through: any number may occur.
enum class bgp_receive_route_stage_t : std::uint32_t { unspecified = 0 };

/// Identifies a BGP path: where it leads, which peer sent it, and in which VRF. The prefix decides the family.
class bgp_path_key_t {
 public:
   bgp_path_key_t() = default;

   ip_prefix_t const& prefix() const { return prefix_; }
   void prefix_is(ip_prefix_t const& prefix) { prefix_ = prefix; }
   ip_addr_t const& peer_addr() const { return peer_addr_; }
   void peer_addr_is(ip_addr_t const& address) { peer_addr_ = address; }
   std::string const& vrf_name() const { return vrf_name_; }
   void vrf_name_is(std::string const& name) { vrf_name_ = name; }

   std::size_t hash() const;
   /// "10.0.0.0/8 peer 10.1.1.1 vrf red".
   std::string to_string() const;

   auto operator<=>(bgp_path_key_t const&) const = default;
   static constexpr auto attributes() {
      using key = bgp_path_key_t;
      return std::tuple{attribute{"prefix", &key::prefix_}, attribute{"peer_addr", &key::peer_addr_},
                        attribute{"vrf_name", &key::vrf_name_}};
   }

 private:
   ip_prefix_t prefix_;
   ip_addr_t peer_addr_;
   std::string vrf_name_;
};

/// The attributes that a peer gave a path. Only a manager makes one that is not empty.
class bgp_path_attr_t {
 public:
   bgp_path_attr_t() = default;
   bgp_path_attr_t(ip_addr_t const& next_hop, unsigned char origin, std::uint32_t med, std::uint32_t local_pref,
                   std::unordered_set<std::uint32_t> community_list)
      : next_hop_(next_hop),
        origin_(origin),
        med_(med),
        local_pref_(local_pref),
        community_list_(std::move(community_list)) {}

   ip_addr_t const& next_hop() const { return next_hop_; }
   void next_hop_is(ip_addr_t const& address) { next_hop_ = address; }
   unsigned char origin() const { return origin_; }
   std::uint32_t med() const { return med_; }
   std::uint32_t local_pref() const { return local_pref_; }
   /// In no particular order.
   std::unordered_set<std::uint32_t> const& community_list() const { return community_list_; }
   void community_list_is(std::unordered_set<std::uint32_t> communities) { community_list_ = std::move(communities); }

   bool operator==(bgp_path_attr_t const&) const = default;
   static constexpr auto attributes() {
      using attr = bgp_path_attr_t;
      return std::tuple{attribute{"next_hop", &attr::next_hop_}, attribute{"origin", &attr::origin_},
                        attribute{"med", &attr::med_}, attribute{"local_pref", &attr::local_pref_},
                        attribute{"community_list", &attr::community_list_}};
   }

 private:
   ip_addr_t next_hop_;
   unsigned char origin_ = 0;
   std::uint32_t med_ = 0;
   std::uint32_t local_pref_ = 0;
   std::unordered_set<std::uint32_t> community_list_;
};

/// Which of the attributes that cost something to fetch are asked for; by default none.
class bgp_path_attr_fields_t {
 public:
   bgp_path_attr_fields_t() = default;

   bool next_hop() const { return next_hop_; }
   void next_hop_is(bool wanted) { next_hop_ = wanted; }
   bool community_list() const { return community_list_; }
   void community_list_is(bool wanted) { community_list_ = wanted; }

 private:
   bool next_hop_ = false;
   bool community_list_ = false;
};

/// How paths are to be read.
class bgp_path_options_t {
 public:
   bgp_path_options_t() = default;

   bgp_path_attr_fields_t const& path_attr_fields() const { return path_attr_fields_; }
   void path_attr_fields_is(bgp_path_attr_fields_t const& fields) { path_attr_fields_ = fields; }
   bgp_receive_route_stage_t receive_route_stage() const { return receive_route_stage_; }
   void receive_route_stage_is(bgp_receive_route_stage_t stage) { receive_route_stage_ = stage; }

 private:
   bgp_path_attr_fields_t path_attr_fields_;
   bgp_receive_route_stage_t receive_route_stage_ = bgp_receive_route_stage_t::unspecified;
};

/// A path with its attributes.
class bgp_path_t {
 public:
   bgp_path_t() = default;
   bgp_path_t(bgp_path_key_t key, bgp_path_attr_t attr) : path_key_(std::move(key)), path_attr_(std::move(attr)) {}

   bgp_path_key_t const& path_key() const { return path_key_; }
   bgp_path_attr_t const& path_attr() const { return path_attr_; }

   bool operator==(bgp_path_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"path_key", &bgp_path_t::path_key_}, attribute{"path_attr", &bgp_path_t::path_attr_}};
   }

 private:
   bgp_path_key_t path_key_;
   bgp_path_attr_t path_attr_;
};

using bgp_path_iter_impl = iter_impl<bgp_path_t>;
using bgp_path_iter_t = iter_base<bgp_path_t, bgp_path_iter_impl>;

class bgp_path_mgr;

/// Receives the events of BGP, on the main loop, of both families.
class bgp_path_handler : public base_handler<bgp_path_mgr, bgp_path_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_paths(bool on);

   /// The path came, changed or went; reading it tells which.
   virtual void on_ipv4_unicast_path(bgp_path_key_t const& /*key*/) {}
   virtual void on_ipv6_unicast_path(bgp_path_key_t const& /*key*/) {}
   /// The family has converged, or has ceased to be so.
   virtual void on_ipv4_unicast_bgp_converged(bool /*converged*/) {}
   virtual void on_ipv6_unicast_bgp_converged(bool /*converged*/) {}
};

/// The BGP paths that the switch has received; read only. Thread-safe: each operation is atomic.
class bgp_path_mgr : public base_mgr<bgp_path_handler, bgp_afi_safi_t> {
 public:
   virtual ~bgp_path_mgr() = default;

   /// The paths of the family in the order of their keys. Of their attributes those that the options do not ask for are
   /// blank.
   virtual bgp_path_iter_t ipv4_unicast_path_iter(bgp_path_options_t const& options) const = 0;
   virtual bgp_path_iter_t ipv6_unicast_path_iter(bgp_path_options_t const& options) const = 0;
   /// The path with all of its attributes. Throws invalid_argument_error if the family has none of that key.
   virtual bgp_path_t ipv4_unicast_path(bgp_path_key_t const& key) const = 0;
   virtual bgp_path_t ipv6_unicast_path(bgp_path_key_t const& key) const = 0;
   /// Whether BGP has converged for the family.
   virtual bool ipv4_unicast_bgp_convergence() const = 0;
   virtual bool ipv6_unicast_bgp_convergence() const = 0;
};

inline void bgp_path_handler::watch_all_paths(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm

template <>
struct std::hash<velm::bgp_path_key_t> {
   std::size_t operator()(velm::bgp_path_key_t const& key) const noexcept { return key.hash(); }
};
