#include "platform/linux/forwarding/Tunnels.h"

namespace velm::machine {

std::string const* Tunnels::towards(ip_addr_t const& address) const {
   Tunnel const* best = nullptr;
   if (tunnels_.empty()) return nullptr;
   for (auto length = static_cast<int>(address_size(address.af()) * 8); length >= 0; --length) {
      auto const found = tunnels_.find(ip_prefix_t(address, static_cast<unsigned char>(length)));
      if (found == tunnels_.end()) continue;
      if (best == nullptr || found->second.metric < best->metric) best = &found->second;
   }
   return best == nullptr ? nullptr : &best->group;
}

}  // namespace velm::machine
