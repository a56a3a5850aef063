#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// What a policy map or class map is for.
enum class policy_feature_t : std::uint8_t { none = 0, pbr = 1, qos = 2, tap = 3 };

/// Identifies a policy map or a class map.
class policy_map_key_t {
 public:
   policy_map_key_t() = default;
   policy_map_key_t(std::string name, policy_feature_t feature) : name_(std::move(name)), feature_(feature) {}

   std::string const& name() const { return name_; }
   void name_is(std::string const& name) { name_ = name; }
   policy_feature_t feature() const { return feature_; }
   void feature_is(policy_feature_t feature) { feature_ = feature; }

   auto operator<=>(policy_map_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"name", &policy_map_key_t::name_}, attribute{"feature", &policy_map_key_t::feature_}};
   }

 private:
   std::string name_;
   policy_feature_t feature_ = policy_feature_t::none;
};

/// The policy maps of the switch.
class policy_map_mgr {
 public:
   virtual ~policy_map_mgr() = default;
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;
   virtual bool exists(policy_map_key_t const& key) const = 0;
   virtual void policy_map_del(policy_map_key_t const& key) = 0;
};

/// The class maps that policy maps match on.
class class_map_mgr {
 public:
   virtual ~class_map_mgr() = default;
   virtual bool exists(policy_map_key_t const& key) const = 0;
   virtual void class_map_del(policy_map_key_t const& key) = 0;
};

}  // namespace velm
