#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "platform/velm/attribute.h"

namespace velm {

/// Names an interface: "Ethernet1", "Ethernet3/1", "Port-Channel7", "Loopback0", "Vlan100", "Management1". Held as kind
/// and numbers, twelve bytes, so that keys are cheap and Ethernet2 sorts before Ethernet10. The default names none.
class intf_id_t {
 public:
   enum class kind_t : std::uint8_t { none, ethernet, port_channel, loopback, vlan, management };

   intf_id_t() = default;
   /// Throws invalid_argument_error for a text that is neither empty nor the name of an interface.
   explicit intf_id_t(std::string const& name);

   kind_t kind() const { return kind_; }
   std::uint32_t number() const { return number_; }
   /// Empty for no interface.
   std::string to_string() const;
   std::size_t hash() const;

   auto operator<=>(intf_id_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"kind", &intf_id_t::kind_}, attribute{"number", &intf_id_t::number_},
                        attribute{"sub", &intf_id_t::sub_}};
   }

 private:
   kind_t kind_ = kind_t::none;
   std::uint32_t number_ = 0;
   std::uint32_t sub_ = 0;  // one more than the number after the slash; 0 for no slash
   friend std::string kernel_name(intf_id_t const&);
};
constexpr auto last_value(intf_id_t::kind_t) { return intf_id_t::kind_t::management; }

/// The kernel's name for the interface: "eth1", "eth3_1", "po7", "lo0", "vlan100", "mgmt1"; empty for none.
std::string kernel_name(intf_id_t const& intf);
/// The interface that bears the kernel's name; the empty id if the text is no such name.
intf_id_t intf_of_kernel_name(std::string const& name);

}  // namespace velm

template <>
struct std::hash<velm::intf_id_t> {
   std::size_t operator()(velm::intf_id_t const& intf) const noexcept { return intf.hash(); }
};
