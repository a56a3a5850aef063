#include "platform/linux/forwarding/Resting.h"

namespace velm::machine {

void Resting::hopWent(std::string const& vrf, ip_addr_t const& hop) {
   auto& hops = hops_[vrf];
   if (auto const found = hops.find(hop); found != hops.end() && --found->second == 0) hops.erase(found);
   if (hops.empty()) hops_.erase(vrf);
}

bool Resting::anyIn(Hops const& hops, ip_prefix_t const& prefix) {
   auto const first = hops.lower_bound(prefix.network());
   return first != hops.end() && ip_prefix_t(first->first, prefix.prefix_length()) == prefix;
}

void Resting::changed(std::string const& vrf, ip_prefix_t const& prefix) {
   if (hops_.empty()) return;
   if (auto const found = hops_.find(vrf); found != hops_.end() && anyIn(found->second, prefix)) {
      changed_.emplace_back(vrf, prefix);
   }
}

void Resting::changedEverywhere(ip_prefix_t const& prefix) {
   for (auto const& [vrf, hops] : hops_) {
      if (anyIn(hops, prefix)) changed_.emplace_back(vrf, prefix);
   }
}

// A row that changes by its hop has changed a prefix in turn, which is passed on in the next turn. Levels end that: a
// row at the deepest one leads nowhere, and then changes no more; twice so many turns bring up a level each and the
// ends of those that came back to themselves.
void Resting::settle() {
   for (unsigned turn = 0; !changed_.empty() && turn < 2 * (deepest + 1); ++turn) {
      for (auto const& [vrf, prefix] : std::exchange(changed_, {})) renew_(vrf, prefix);
   }
   changed_.clear();
}

}  // namespace velm::machine
