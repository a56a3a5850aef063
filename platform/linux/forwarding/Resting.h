#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/velm/ip.h"

namespace velm::machine {

/// What rests on what: rows whose ways name a hop and no interface follow what leads to the hop, a network, a tunnel or
/// another route, and change with it. Changes are gathered and passed on once, before the SDK lock is given back; what
/// changes by that is passed on in turn. The SDK lock guards it.
class Resting {
 public:
   /// Routes rest on others so deep. What would rest deeper, as a route that comes back to itself does, leads nowhere.
   static constexpr unsigned deepest = 4;

   /// Rows with hops of the VRF in that prefix are to look anew where these lead.
   using Renew = std::function<void(std::string const& vrf, ip_prefix_t const& changed)>;

   explicit Resting(Renew renew) : renew_(std::move(renew)) {}

   /// A row more, or less, has that hop.
   void hopCame(std::string const& vrf, ip_addr_t const& hop) { ++hops_[vrf][hop]; }
   void hopWent(std::string const& vrf, ip_addr_t const& hop);

   /// What leads to addresses of the prefix has changed, in the VRF or in all of them.
   void changed(std::string const& vrf, ip_prefix_t const& prefix);
   void changedEverywhere(ip_prefix_t const& prefix);
   void settle();

 private:
   using Hops = absl::btree_map<ip_addr_t, std::uint32_t>;
   static bool anyIn(Hops const& hops, ip_prefix_t const& prefix);

   Renew const renew_;
   absl::btree_map<std::string, Hops> hops_;  // of each VRF, with how many rows have them
   std::vector<std::pair<std::string, ip_prefix_t>> changed_;
};

}  // namespace velm::machine
