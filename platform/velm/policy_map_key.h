#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>

#include "platform/velm/attribute.h"

namespace velm {

/// The purpose of a policy map or class map.
enum class policy_feature_t : std::uint8_t { none = 0, pbr = 1, qos = 2, tap = 3 };
constexpr auto last_value(policy_feature_t) { return policy_feature_t::tap; }

/// Identifies a policy map or a class map.
class policy_map_key_t {
 public:
   policy_map_key_t() = default;
   policy_map_key_t(std::string const& name, policy_feature_t feature) : name_(name), feature_(feature) {}

   std::string const& name() const { return name_; }
   void name_is(std::string const& name) { name_ = name; }
   policy_feature_t feature() const { return feature_; }
   void feature_is(policy_feature_t feature) { feature_ = feature; }
   std::size_t hash() const;
   /// "p feature 1".
   std::string to_string() const;

   auto operator<=>(policy_map_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"name", &policy_map_key_t::name_}, attribute{"feature", &policy_map_key_t::feature_}};
   }

 private:
   std::string name_;
   policy_feature_t feature_ = policy_feature_t::none;
};

}  // namespace velm

template <>
struct std::hash<velm::policy_map_key_t> {
   std::size_t operator()(velm::policy_map_key_t const& key) const noexcept { return key.hash(); }
};
