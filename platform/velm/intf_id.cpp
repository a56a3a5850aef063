#include "platform/velm/intf_id.h"

#include <absl/hash/hash.h>
#include <fmt/format.h>

#include <array>
#include <charconv>
#include <limits>
#include <optional>

#include "platform/velm/errors.h"

// An id is its name in numbers: kind, number and the part after a slash. Each id has one spelling, so comparing ids is
// comparing names, and Ethernet2 sorts before Ethernet10.
namespace velm {
namespace {

struct Kind {
   intf_id_t::kind_t kind;
   std::string_view name;
   std::string_view kernel;
};
constexpr std::array kinds{
   Kind{intf_id_t::kind_t::ethernet, "Ethernet", "eth"}, Kind{intf_id_t::kind_t::port_channel, "Port-Channel", "po"},
   Kind{intf_id_t::kind_t::loopback, "Loopback", "lo"}, Kind{intf_id_t::kind_t::vlan, "Vlan", "vlan"},
   Kind{intf_id_t::kind_t::management, "Management", "mgmt"}};

// Takes a decimal number off the front of the text: one spelling for each number, so that a name is its own key.
std::optional<std::uint32_t> takeNumber(std::string_view& text) {
   std::uint32_t number = 0;
   auto const [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
   auto const digits = static_cast<std::size_t>(end - text.data());
   if (failure != std::errc() || digits == 0 || (digits > 1 && text.front() == '0')) return std::nullopt;
   if (number == std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
   text.remove_prefix(digits);
   return number;
}

std::string render(std::string_view prefix, std::uint32_t number, char separator, std::uint32_t sub) {
   return sub == 0 ? fmt::format("{}{}", prefix, number) : fmt::format("{}{}{}{}", prefix, number, separator, sub - 1);
}

}  // namespace

intf_id_t::intf_id_t(std::string const& name) {
   if (name.empty()) return;
   for (auto const& kind : kinds) {
      std::string_view rest = name;
      if (!rest.starts_with(kind.name)) continue;
      rest.remove_prefix(kind.name.size());
      auto const number = takeNumber(rest);
      if (!number) break;
      kind_ = kind.kind;
      number_ = *number;
      if (rest.empty()) return;
      if (rest.front() != '/') break;
      rest.remove_prefix(1);
      auto const sub = takeNumber(rest);
      if (!sub || !rest.empty()) break;
      sub_ = *sub + 1;
      return;
   }
   throw invalid_argument_error(fmt::format("'{}' is not an interface name", name));
}

std::string intf_id_t::to_string() const {
   return kind_ == kind_t::none ? std::string()
                                : render(kinds[static_cast<std::size_t>(kind_) - 1].name, number_, '/', sub_);
}

std::size_t intf_id_t::hash() const { return absl::HashOf(*this); }

std::string kernel_name(intf_id_t const& intf) {
   if (intf.kind_ == intf_id_t::kind_t::none) return {};
   return render(kinds[static_cast<std::size_t>(intf.kind_) - 1].kernel, intf.number_, '_', intf.sub_);
}

intf_id_t intf_of_kernel_name(std::string const& name) {
   for (auto const& kind : kinds) {
      if (!name.starts_with(kind.kernel)) continue;
      std::string rest = name.substr(kind.kernel.size());
      if (rest.find('/') != std::string::npos) break;
      if (auto const separator = rest.find('_'); separator != std::string::npos) rest[separator] = '/';
      try {
         return intf_id_t(std::string(kind.name) + rest);
      } catch (invalid_argument_error const&) {
         break;
      }
   }
   return {};
}

}  // namespace velm
