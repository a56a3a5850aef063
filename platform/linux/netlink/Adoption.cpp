#include "platform/linux/netlink/Adoption.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

constexpr std::size_t longestName = 15;  // the kernel's IFNAMSIZ, less its NUL

bool canBeDevice(std::string const& name) {
   auto const bad = [](unsigned char c) { return c == '/' || c == ':' || c == '\0' || std::isspace(c) != 0; };
   return !name.empty() && name.size() <= longestName && name != "." && name != ".." && std::ranges::none_of(name, bad);
}

std::string deviceNamed(intf_id_t const& intf) {
   auto name = intf.to_string();
   std::ranges::replace(name, '/', '_');
   return name.size() <= longestName ? name : std::string();
}

intf_id_t intfNamed(std::string name) {
   std::ranges::replace(name, '_', '/');
   try {
      return intf_id_t(name);
   } catch (invalid_argument_error const&) {
      return {};
   }
}

}  // namespace

Adoption::Adoption(std::map<intf_id_t, std::string> devices) : devices_(std::move(devices)) {
   for (auto const& [intf, device] : devices_) {
      if (!canBeDevice(device)) {
         throw invalid_argument_error(fmt::format("{}: '{}' is not the name of a device", intf.to_string(), device));
      }
      auto const [place, isNew] = given_.try_emplace(device, intf);
      if (!isNew) {
         throw configuration_error(
            fmt::format("{}: device {} is given to {} already", intf.to_string(), device, place->second.to_string()));
      }
   }
}

intf_id_t Adoption::intf(std::string const& device) const {
   if (auto const found = given_.find(device); found != given_.end()) return found->second;
   auto const intf = intfNamed(device);
   return devices_.contains(intf) ? intf_id_t() : intf;
}

std::string Adoption::device(intf_id_t intf) const {
   if (auto const found = devices_.find(intf); found != devices_.end()) return found->second;
   auto name = deviceNamed(intf);
   return given_.contains(name) ? std::string() : name;
}

}  // namespace velm::netlink
