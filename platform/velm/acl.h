#pragma once

#include <compare>
#include <cstdint>
#include <list>
#include <string>
#include <tuple>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/errors.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The fate of a packet that matches a rule.
enum class acl_action_t : std::uint8_t { none = 0, permit = 1, deny = 2 };
constexpr auto last_value(acl_action_t) { return acl_action_t::deny; }
/// Which way through an interface.
enum class acl_direction_t : std::uint8_t { none = 0, in = 1, out = 2 };
constexpr auto last_value(acl_direction_t) { return acl_direction_t::out; }
/// The family of packets that an IP rule matches, whatever its addresses say.
enum class acl_ip_type_t : std::uint8_t { any = 0, ipv4 = 1, ipv6 = 2 };
constexpr auto last_value(acl_ip_type_t) { return acl_ip_type_t::ipv6; }
/// How a value of a packet is compared with that of a rule.
enum class acl_range_operator_t : std::uint8_t {
   none = 0,
   any = 1,
   equal = 2,
   not_equal = 3,
   greater = 4,
   less = 5,
   range = 6,
};
constexpr auto last_value(acl_range_operator_t) { return acl_range_operator_t::range; }
/// The kind of an ACL. Others than those named here may turn up and are passed on as they are.
enum class acl_type_t : std::uint8_t { none = 0, ipv4 = 1, ipv6 = 2 };
constexpr bool is_valid(acl_type_t) { return true; }

/// Identifies an ACL: ACLs of one name and different types are different ones.
class acl_key_t {
 public:
   acl_key_t() = default;
   acl_key_t(std::string const& name, acl_type_t type) : name_(name), type_(type) {}

   std::string const& acl_name() const { return name_; }
   acl_type_t acl_type() const { return type_; }

   auto operator<=>(acl_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"acl_name", &acl_key_t::name_}, attribute{"acl_type", &acl_key_t::type_}};
   }

 private:
   std::string name_;
   acl_type_t type_ = acl_type_t::none;
};

/// Ports of a rule, and how a packet's port is compared with them.
class acl_port_spec_t {
 public:
   acl_port_spec_t() = default;

   acl_range_operator_t oper() const { return oper_; }
   void oper_is(acl_range_operator_t oper) { oper_ = oper; }
   /// In the order in which they were given, repeats included.
   std::list<unsigned short> const& ports() const { return ports_; }
   void ports_is(std::list<unsigned short> const& ports) { ports_ = ports; }

   auto operator<=>(acl_port_spec_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"oper", &acl_port_spec_t::oper_}, attribute{"ports", &acl_port_spec_t::ports_}};
   }

 private:
   acl_range_operator_t oper_ = acl_range_operator_t::none;
   std::list<unsigned short> ports_;
};

/// The TTL of a rule, and how a packet's is compared with it.
class acl_ttl_spec_t {
 public:
   acl_ttl_spec_t() = default;

   acl_range_operator_t oper() const { return oper_; }
   void oper_is(acl_range_operator_t oper) { oper_ = oper; }
   unsigned char ttl() const { return ttl_; }
   void ttl_is(unsigned char ttl) { ttl_ = ttl; }

   auto operator<=>(acl_ttl_spec_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"oper", &acl_ttl_spec_t::oper_}, attribute{"ttl", &acl_ttl_spec_t::ttl_}};
   }

 private:
   acl_range_operator_t oper_ = acl_range_operator_t::none;
   unsigned char ttl_ = 0;
};

/// The attributes that rules of all kinds of ACL share. No rule is only this.
class acl_rule_base_t {
 public:
   acl_action_t action() const { return action_; }
   void action_is(acl_action_t action) { action_ = action; }
   /// Whether packets that match are logged.
   bool log() const { return log_; }
   void log_is(bool log) { log_ = log; }
   bool tracked() const { return tracked_; }
   void tracked_is(bool tracked) { tracked_ = tracked; }

   auto operator<=>(acl_rule_base_t const&) const = default;
   static constexpr auto attributes() {
      using rule = acl_rule_base_t;
      return std::tuple{attribute{"action", &rule::action_}, attribute{"log", &rule::log_},
                        attribute{"tracked", &rule::tracked_}};
   }

 protected:
   acl_rule_base_t() = default;

 private:
   acl_action_t action_ = acl_action_t::none;
   bool log_ = false;
   bool tracked_ = false;
};

/// A rule of an IPv4 or IPv6 ACL. Numbers are as wide as their type, not as their protocol's field.
class acl_rule_ip_t : public acl_rule_base_t {
 public:
   acl_rule_ip_t() = default;

   unsigned short vlan() const { return vlan_; }
   void vlan_is(unsigned short vlan) { vlan_ = vlan; }
   unsigned short vlan_mask() const { return vlan_mask_; }
   void vlan_mask_is(unsigned short mask) { vlan_mask_ = mask; }
   unsigned short inner_vlan() const { return inner_vlan_; }
   void inner_vlan_is(unsigned short vlan) { inner_vlan_ = vlan; }
   unsigned short inner_vlan_mask() const { return inner_vlan_mask_; }
   void inner_vlan_mask_is(unsigned short mask) { inner_vlan_mask_ = mask; }
   unsigned char ip_protocol() const { return ip_protocol_; }
   void ip_protocol_is(unsigned char protocol) { ip_protocol_ = protocol; }
   acl_ttl_spec_t const& ttl() const { return ttl_; }
   void ttl_is(acl_ttl_spec_t ttl) { ttl_ = ttl; }
   ip_addr_mask_t const& source_addr() const { return source_addr_; }
   void source_addr_is(ip_addr_mask_t const& address) { source_addr_ = address; }
   ip_addr_mask_t const& destination_addr() const { return destination_addr_; }
   void destination_addr_is(ip_addr_mask_t const& address) { destination_addr_ = address; }
   acl_port_spec_t const& source_port() const { return source_port_; }
   void source_port_is(acl_port_spec_t port) { source_port_ = std::move(port); }
   acl_port_spec_t const& destination_port() const { return destination_port_; }
   void destination_port_is(acl_port_spec_t port) { destination_port_ = std::move(port); }
   /// The group that a packet would leave through; empty for any.
   std::string const& nexthop_group() const { return nexthop_group_; }
   void nexthop_group_is(std::string name) { nexthop_group_ = std::move(name); }
   unsigned short tcp_flags() const { return tcp_flags_; }
   void tcp_flags_is(unsigned short flags) { tcp_flags_ = flags; }
   acl_ip_type_t ip_type() const { return ip_type_; }
   void ip_type_is(acl_ip_type_t type) { ip_type_ = type; }
   /// Whether only packets of established TCP connections match.
   bool established() const { return established_; }
   void established_is(bool established) { established_ = established; }
   unsigned short icmp_type() const { return icmp_type_; }
   void icmp_type_is(unsigned short type) { icmp_type_ = type; }
   unsigned short icmp_code() const { return icmp_code_; }
   void icmp_code_is(unsigned short code) { icmp_code_ = code; }
   /// DSCP bits at the place where the mask has them; compared where match_ip_priority says so.
   unsigned char priority_value() const { return priority_value_; }
   void priority_value_is(unsigned char value) { priority_value_ = value; }
   unsigned char priority_mask() const { return priority_mask_; }
   void priority_mask_is(unsigned char mask) { priority_mask_ = mask; }
   bool match_fragments() const { return match_fragments_; }
   void match_fragments_is(bool match) { match_fragments_ = match; }
   bool match_ip_priority() const { return match_ip_priority_; }
   void match_ip_priority_is(bool match) { match_ip_priority_ = match; }

   auto operator<=>(acl_rule_ip_t const&) const = default;
   static constexpr auto attributes() {
      using rule = acl_rule_ip_t;
      return std::tuple_cat(acl_rule_base_t::attributes(),
                            std::tuple{attribute{"vlan", &rule::vlan_},
                                       attribute{"vlan_mask", &rule::vlan_mask_},
                                       attribute{"inner_vlan", &rule::inner_vlan_},
                                       attribute{"inner_vlan_mask", &rule::inner_vlan_mask_},
                                       attribute{"ip_protocol", &rule::ip_protocol_},
                                       attribute{"ttl", &rule::ttl_},
                                       attribute{"source_addr", &rule::source_addr_},
                                       attribute{"destination_addr", &rule::destination_addr_},
                                       attribute{"source_port", &rule::source_port_},
                                       attribute{"destination_port", &rule::destination_port_},
                                       attribute{"nexthop_group", &rule::nexthop_group_},
                                       attribute{"tcp_flags", &rule::tcp_flags_},
                                       attribute{"ip_type", &rule::ip_type_},
                                       attribute{"established", &rule::established_},
                                       attribute{"icmp_type", &rule::icmp_type_},
                                       attribute{"icmp_code", &rule::icmp_code_},
                                       attribute{"priority_value", &rule::priority_value_},
                                       attribute{"priority_mask", &rule::priority_mask_},
                                       attribute{"match_fragments", &rule::match_fragments_},
                                       attribute{"match_ip_priority", &rule::match_ip_priority_}});
   }

 private:
   unsigned short vlan_ = 0;
   unsigned short vlan_mask_ = 0;
   unsigned short inner_vlan_ = 0;
   unsigned short inner_vlan_mask_ = 0;
   unsigned char ip_protocol_ = 0;
   acl_ttl_spec_t ttl_;
   ip_addr_mask_t source_addr_;
   ip_addr_mask_t destination_addr_;
   acl_port_spec_t source_port_;
   acl_port_spec_t destination_port_;
   std::string nexthop_group_;
   unsigned short tcp_flags_ = 0;
   acl_ip_type_t ip_type_ = acl_ip_type_t::any;
   bool established_ = false;
   unsigned short icmp_type_ = 0;
   unsigned short icmp_code_ = 0;
   unsigned char priority_value_ = 0;
   unsigned char priority_mask_ = 0;
   bool match_fragments_ = false;
   bool match_ip_priority_ = false;
};

/// Throws invalid_range_error if an address of the rule has a mask longer than its family; for managers, before they
/// store a rule.
inline void check_lengths(acl_rule_ip_t const& rule) {
   check_length(rule.source_addr());
   check_length(rule.destination_addr());
}

/// A rule with its sequence number.
using acl_rule_ip_entry_t = std::pair<std::uint32_t, acl_rule_ip_t>;
using acl_rule_ip_iter_impl = iter_impl<acl_rule_ip_entry_t>;
using acl_rule_ip_iter_t = iter_base<acl_rule_ip_entry_t, acl_rule_ip_iter_impl>;

/// The ACLs of the switch, edited in a staged copy: nothing below takes effect, or outlives the process, before
/// acl_commit, but every read here, of this and of every other caller, sees it at once. Thread-safe: each operation is
/// atomic. On any error nothing has changed.
class acl_mgr {
 public:
   virtual ~acl_mgr() = default;

   /// An ACL exists from its first rule until it is deleted, even if it has lost all rules.
   virtual bool acl_exists(acl_key_t const& key) const = 0;
   /// Deletes the ACL with its rules; one that is absent is no error.
   virtual void acl_del(acl_key_t const& key) = 0;

   /// Creates the rule, and the ACL if need be, or replaces the rule of that sequence number. Throws
   /// invalid_argument_error for an ACL without a name, invalid_range_error for a mask longer than its family.
   virtual void acl_rule_set(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule) = 0;
   /// Deletes the rule; one that is absent is no error.
   virtual void acl_rule_del(acl_key_t const& key, std::uint32_t sequence) = 0;
   /// The rules of an ACL by ascending sequence number; none for an unknown ACL. Each step looks at the rules as they
   /// then are.
   virtual acl_rule_ip_iter_t acl_rule_ip_iter(acl_key_t const& key) const = 0;

   /// Makes the staged copy the committed one, all of it or, on an error, nothing: the edits then stay staged. With
   /// nothing staged it does nothing.
   virtual void acl_commit() = 0;
};

}  // namespace velm
