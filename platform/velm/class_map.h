#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <tuple>

#include "platform/velm/acl.h"
#include "platform/velm/attribute.h"
#include "platform/velm/errors.h"
#include "platform/velm/policy_map_key.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// One alternative of a class map: what the ACL permits.
class class_map_rule_t {
 public:
   class_map_rule_t() = default;
   explicit class_map_rule_t(acl_key_t const& acl_key) : acl_key_(acl_key) {}

   acl_key_t const& acl_key() const { return acl_key_; }

   auto operator<=>(class_map_rule_t const&) const = default;
   static constexpr auto attributes() { return std::tuple{attribute{"acl_key", &class_map_rule_t::acl_key_}}; }

 private:
   acl_key_t acl_key_;
};

/// A class of packets that a policy map's rule picks.
class class_map_t {
 public:
   class_map_t() = default;
   explicit class_map_t(policy_map_key_t const& key) : key_(key) {}

   policy_map_key_t const& key() const { return key_; }
   /// By sequence number.
   std::map<std::uint32_t, class_map_rule_t> const& rules() const { return rules_; }
   /// Replaces the rule of that sequence number.
   void rule_set(std::uint32_t sequence, class_map_rule_t const& rule) { rules_[sequence] = rule; }

   auto operator<=>(class_map_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"key", &class_map_t::key_}, attribute{"rules", &class_map_t::rules_}};
   }

 private:
   policy_map_key_t key_;
   std::map<std::uint32_t, class_map_rule_t> rules_;
};

/// The class maps that policy maps match on. Thread-safe: each operation is atomic. On any error nothing has changed.
class class_map_mgr {
 public:
   virtual ~class_map_mgr() = default;

   /// Whether there is such a class map.
   virtual bool exists(policy_map_key_t const& key) const = 0;
   /// Throws invalid_argument_error for an unknown class map.
   virtual class_map_t class_map(policy_map_key_t const& key) const = 0;
   /// Creates the class map, or replaces the one of that key whole. The ACLs that it names need not exist. Throws
   /// invalid_argument_error for an empty name, invalid_range_error for an ACL that is neither of IPv4 nor of IPv6.
   virtual void class_map_is(class_map_t const& class_map) = 0;
   /// Deletes the class map; one that is absent is no error. Its ACLs, and rules that name it, are not touched.
   virtual void class_map_del(policy_map_key_t const& key) = 0;
};

}  // namespace velm
