#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "platform/velm/acl.h"
#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/policy_map_key.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The kind of an action on a packet, which says which attribute of the action counts.
enum class policy_action_type_t : std::uint8_t {
   none = 0,
   drop = 1,
   dscp = 2,
   traffic_class = 3,
   nexthop_group = 4,
   nexthop = 5,
   vrf = 6,
};
constexpr auto last_value(policy_action_type_t) { return policy_action_type_t::vrf; }
/// Where a rule says which packets it matches: in its class map, or in the raw rule that it carries.
enum class policy_map_rule_type_t : std::uint8_t { class_map = 0, raw_ipv4 = 1, raw_ipv6 = 2 };
constexpr auto last_value(policy_map_rule_type_t) { return policy_map_rule_type_t::raw_ipv6; }
/// How far the dataplane has come with a policy map on an interface.
enum class policy_map_status_t : std::uint8_t { pending = 0, programmed = 1, failed = 2, unsupported = 3 };
constexpr auto last_value(policy_map_status_t) { return policy_map_status_t::unsupported; }

/// An action on the packets of a rule.
class policy_map_action_t {
 public:
   policy_map_action_t() = default;
   explicit policy_map_action_t(policy_action_type_t type) : action_type_(type) {}

   policy_action_type_t action_type() const { return action_type_; }
   void action_type_is(policy_action_type_t type) { action_type_ = type; }
   std::string const& nexthop_group_name() const { return nexthop_group_name_; }
   void nexthop_group_name_is(std::string const& name) { nexthop_group_name_ = name; }
   std::unordered_set<ip_addr_t> const& nexthops() const { return nexthops_; }
   void nexthops_is(std::unordered_set<ip_addr_t> const& nexthops) { nexthops_ = nexthops; }
   std::string const& vrf() const { return vrf_; }
   void vrf_is(std::string const& vrf) { vrf_ = vrf; }
   unsigned char dscp() const { return dscp_; }
   void dscp_is(unsigned char dscp) { dscp_ = dscp; }
   unsigned char traffic_class() const { return traffic_class_; }
   void traffic_class_is(unsigned char traffic_class) { traffic_class_ = traffic_class; }

   bool operator==(policy_map_action_t const&) const = default;
   /// Nexthops are compared as the ordered sets that they are not.
   std::strong_ordering operator<=>(policy_map_action_t const& other) const;
   static constexpr auto attributes() {
      using action = policy_map_action_t;
      return std::tuple{attribute{"action_type", &action::action_type_},
                        attribute{"nexthop_group_name", &action::nexthop_group_name_},
                        attribute{"nexthops", &action::nexthops_},
                        attribute{"vrf", &action::vrf_},
                        attribute{"dscp", &action::dscp_},
                        attribute{"traffic_class", &action::traffic_class_}};
   }

 private:
   policy_action_type_t action_type_ = policy_action_type_t::none;
   std::string nexthop_group_name_;
   std::unordered_set<ip_addr_t> nexthops_;
   std::string vrf_;
   unsigned char dscp_ = 0;
   unsigned char traffic_class_ = 0;
};

/// Which packets, and what is done to them.
class policy_map_rule_t {
 public:
   policy_map_rule_t() = default;
   explicit policy_map_rule_t(policy_map_key_t const& class_map_key) : class_map_key_(class_map_key) {}

   policy_map_key_t const& class_map_key() const { return class_map_key_; }
   void class_map_key_is(policy_map_key_t const& key) { class_map_key_ = key; }
   policy_map_rule_type_t policy_map_rule_type() const { return policy_map_rule_type_; }
   void policy_map_rule_type_is(policy_map_rule_type_t type) { policy_map_rule_type_ = type; }
   /// Counts for the raw types only, but every rule has one.
   acl_rule_ip_t const& raw_rule() const { return raw_rule_; }
   void raw_rule_is(acl_rule_ip_t rule) { raw_rule_ = std::move(rule); }
   std::set<policy_map_action_t> const& actions() const { return actions_; }
   void actions_is(std::set<policy_map_action_t> const& actions) { actions_ = actions; }
   /// Adds an action; one that is there already is no error.
   void action_set(policy_map_action_t const& action) { actions_.insert(action); }

   auto operator<=>(policy_map_rule_t const&) const = default;
   static constexpr auto attributes() {
      using rule = policy_map_rule_t;
      return std::tuple{attribute{"class_map_key", &rule::class_map_key_},
                        attribute{"policy_map_rule_type", &rule::policy_map_rule_type_},
                        attribute{"raw_rule", &rule::raw_rule_}, attribute{"actions", &rule::actions_}};
   }

 private:
   policy_map_key_t class_map_key_;
   policy_map_rule_type_t policy_map_rule_type_ = policy_map_rule_type_t::class_map;
   acl_rule_ip_t raw_rule_;
   std::set<policy_map_action_t> actions_;
};

/// Rules that are tried in the order of their sequence numbers.
class policy_map_t {
 public:
   policy_map_t() = default;
   explicit policy_map_t(policy_map_key_t const& key) : key_(key) {}

   policy_map_key_t const& key() const { return key_; }
   void key_is(policy_map_key_t const& key) { key_ = key; }
   /// By sequence number.
   std::map<std::uint32_t, policy_map_rule_t> const& rules() const { return rules_; }
   void rules_is(std::map<std::uint32_t, policy_map_rule_t> const& rules) { rules_ = rules; }
   /// Replaces the rule of that sequence number.
   void rule_set(std::uint32_t sequence, policy_map_rule_t const& rule) { rules_[sequence] = rule; }
   void rule_del(std::uint32_t sequence) { rules_.erase(sequence); }

   auto operator<=>(policy_map_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"key", &policy_map_t::key_}, attribute{"rules", &policy_map_t::rules_}};
   }

 private:
   policy_map_key_t key_;
   std::map<std::uint32_t, policy_map_rule_t> rules_;
};

/// A place where a policy map is applied.
class policy_map_hw_status_key_t {
 public:
   policy_map_hw_status_key_t() = default;
   policy_map_hw_status_key_t(intf_id_t intf, acl_direction_t direction) : intf_id_(intf), direction_(direction) {}

   intf_id_t const& intf_id() const { return intf_id_; }
   acl_direction_t direction() const { return direction_; }

   auto operator<=>(policy_map_hw_status_key_t const&) const = default;
   static constexpr auto attributes() {
      using key = policy_map_hw_status_key_t;
      return std::tuple{attribute{"intf_id", &key::intf_id_}, attribute{"direction", &key::direction_}};
   }

 private:
   intf_id_t intf_id_;
   acl_direction_t direction_ = acl_direction_t::none;
};

/// The state of a policy map in the dataplane, place by place.
class policy_map_hw_statuses_t {
 public:
   using intf_statuses_t = std::map<policy_map_hw_status_key_t, policy_map_status_t>;

   policy_map_hw_statuses_t() = default;
   explicit policy_map_hw_statuses_t(intf_statuses_t statuses) : intf_statuses_(std::move(statuses)) {}

   intf_statuses_t const& intf_statuses() const { return intf_statuses_; }

   auto operator<=>(policy_map_hw_statuses_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"intf_statuses", &policy_map_hw_statuses_t::intf_statuses_}};
   }

 private:
   intf_statuses_t intf_statuses_;
};

using policy_map_iter_impl = iter_impl<policy_map_key_t>;
using policy_map_iter_t = iter_base<policy_map_key_t, policy_map_iter_impl>;
using policy_map_hw_status_iter_impl = iter_impl<policy_map_key_t>;
using policy_map_hw_status_iter_t = iter_base<policy_map_key_t, policy_map_hw_status_iter_impl>;

class policy_map_mgr;

/// Receives the events of policy maps, on the main loop, while it watches them.
class policy_map_handler : public base_handler<policy_map_mgr, policy_map_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_policy_maps(bool on);

   /// The dataplane has carried out what was last set.
   virtual void on_policy_map_sync(policy_map_key_t const& /*key*/) {}
   /// The dataplane cannot carry it out.
   virtual void on_policy_map_sync_fail(policy_map_key_t const& /*key*/, std::string const& /*message*/) {}
   /// The policy map was set; its sync or failure follows.
   virtual void on_policy_map_config_set(policy_map_key_t const& /*key*/) {}
};

/// The policy maps of the switch and where they are applied. Thread-safe: each operation is atomic; on any error
/// nothing has changed. What is set and applied is carried out by the dataplane later, in order, on the main loop.
class policy_map_mgr : public base_mgr<policy_map_handler, policy_map_key_t> {
 public:
   virtual ~policy_map_mgr() = default;

   /// Marks every policy map; setting one clears its mark, applying one does not.
   virtual void resync_init() = 0;
   /// Deletes the policy maps that are still marked.
   virtual void resync_complete() = 0;

   virtual bool exists(policy_map_key_t const& key) const = 0;
   /// Throws invalid_argument_error for an unknown policy map.
   virtual policy_map_t policy_map(policy_map_key_t const& key) const = 0;
   /// Creates the policy map, or replaces the one of that key whole; where it is applied stays. Raises its events even
   /// if nothing is new. What it names need not exist. One of the empty name is accepted and not kept. Throws
   /// invalid_range_error for a raw rule with a mask longer than its family.
   virtual void policy_map_is(policy_map_t const& policy_map) = 0;
   /// Deletes the policy map, and with it its applications and statuses; one that is absent is no error.
   virtual void policy_map_del(policy_map_key_t const& key) = 0;
   virtual policy_map_iter_t policy_map_iter() const = 0;

   /// Applies the policy map to an interface in a direction, which then has a status, or takes it away. Throws
   /// configuration_error for applying an unknown policy map, invalid_argument_error for applying it to no interface.
   /// The interface need not exist. Taking away what is not applied is no error.
   virtual void policy_map_apply(policy_map_key_t const& key, intf_id_t intf, acl_direction_t direction,
                                 bool apply) = 0;
   /// The keys of the policy maps that have a status somewhere.
   virtual policy_map_hw_status_iter_t policy_map_hw_status_iter() const = 0;
   /// Empty for a policy map that has none, or is unknown.
   virtual policy_map_hw_statuses_t hw_status(policy_map_key_t const& key) const = 0;
};

inline void policy_map_handler::watch_all_policy_maps(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm
