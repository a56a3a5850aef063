#pragma once

#include <absl/container/btree_map.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/velm/ip.h"

namespace velm::machine {

/// Which endpoints are reached through which nexthop groups. The SDK lock guards it.
class Tunnels {
 public:
   void set(ip_prefix_t const& endpoint, std::string const& group, std::uint32_t metric) {
      tunnels_.insert_or_assign(endpoint, Tunnel{group, metric});
   }
   void del(ip_prefix_t const& endpoint) { tunnels_.erase(endpoint); }

   /// The group through which the address is reached: of all endpoints that have it the cheapest one's, of these the
   /// longest one's. Null if there is none. Good until the next change.
   std::string const* towards(ip_addr_t const& address) const;
   std::size_t size() const { return tunnels_.size(); }

 private:
   struct Tunnel {
      std::string group;
      std::uint32_t metric;
   };
   absl::btree_map<ip_prefix_t, Tunnel> tunnels_;
};

}  // namespace velm::machine
