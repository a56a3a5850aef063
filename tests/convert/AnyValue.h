#pragma once

#include <google/protobuf/generated_enum_reflection.h>

#include <array>
#include <concepts>
#include <initializer_list>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "convert/Enums.h"
#include "platform/velm/attribute.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"

namespace VelmSdkRpc::types {

/// Gives SDK values at random whatever the switch could hold, the ends of the ranges often. One seed, one sequence.
class AnyValue {
 public:
   explicit AnyValue(std::uint32_t seed) : random_(seed) {}

   template <velm::has_attributes T>
   void fill(T& value) {
      velm::for_each_attribute(value, [this](char const*, auto& member) { fill(member); });
   }
   template <std::unsigned_integral T>
   void fill(T& number) {
      number = oneOf<T>({0, 1, std::numeric_limits<T>::max(), static_cast<T>(random_())});
   }
   void fill(double& number) { number = oneOf<double>({0, 0.5, -1e300, 1e-9 * random_()}); }
   void fill(bool& flag) { flag = upTo(2) == 1; }
   template <class Enum>
   requires std::is_enum_v<Enum>
   void fill(Enum& value) {
      using Wire = decltype(convert(value));
      auto const* const schema = google::protobuf::GetEnumDescriptor<Wire>();
      // The wire's own, which has no twin.
      bool const keepsZeroFree = schema->value(0)->name().ends_with("_UNSPECIFIED");
      value = static_cast<Enum>(upTo(schema->value_count() - keepsZeroFree));
   }

   void fill(std::string& text) {
      text = oneOf<std::string>({"", "a", std::string("b\0c", 3), "gr\u00fc\u00dfe", std::string(300, 'x')});
   }
   void fill(velm::mpls_label_t& label) {
      constexpr auto max = velm::mpls_label_t::max;
      label = velm::mpls_label_t(oneOf<std::uint32_t>({0, max, static_cast<std::uint32_t>(random_() % max)}));
   }
   void fill(velm::ip_addr_t& address) {
      auto const bytes = randomBytes<16>();
      using velm::af_t;
      address = velm::ip_addr_t(oneOf({af_t::none, af_t::ipv4, af_t::ipv6}), bytes.data());
   }
   void fill(velm::ip_prefix_t& prefix) {
      velm::ip_addr_t address;
      fill(address);
      // Also beyond the family: the switch is the one to refuse that.
      prefix = velm::ip_prefix_t(address, oneOf<unsigned char>({0, 24, 32, 128, randomBytes<1>()[0]}));
   }
   void fill(velm::eth_addr_t& address) {
      address = upTo(4) == 0 ? velm::eth_addr_t() : velm::eth_addr_t(randomBytes<6>().data());
   }
   void fill(velm::intf_id_t& intf) {
      intf = velm::intf_id_t(
         oneOf<std::string>({"", "Ethernet1", "Ethernet3/1", "Port-Channel7", "Loopback0", "Vlan100", "Management1"}));
   }

   template <class List>
   requires requires(List& list) { list.resize(1); }
   void fill(List& list) {
      list.resize(upTo(4));
      for (auto& element : list) fill(element);
   }
   template <class Index, class T>
   void fill(std::map<Index, T>& indexed) {
      indexed.clear();
      for (int count = upTo(4); count > 0; --count) {
         Index index;
         fill(index);
         fill(indexed[index]);
      }
   }
   template <class Set>
   requires requires { typename Set::key_type; }
   void fill(Set& set) {
      set.clear();
      for (int count = upTo(4); count > 0; --count) {
         typename Set::key_type element;
         fill(element);
         set.insert(element);
      }
   }

 private:
   int upTo(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
   template <class T>
   T oneOf(std::initializer_list<T> values) {
      return values.begin()[upTo(static_cast<int>(values.size()))];
   }
   template <std::size_t size>
   std::array<unsigned char, size> randomBytes() {
      std::array<unsigned char, size> bytes;
      for (auto& byte : bytes) byte = static_cast<unsigned char>(random_());
      return bytes;
   }

   std::mt19937 random_;
};

}  // namespace VelmSdkRpc::types
