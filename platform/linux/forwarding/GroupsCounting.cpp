// What counts the packets of groups' entries, and how it lives on when a group is replaced.

#include <absl/container/btree_set.h>
#include <fmt/format.h>

#include "platform/linux/forwarding/Groups.h"
#include "platform/linux/forwarding/GroupsDraft.h"
#include "platform/velm/errors.h"

namespace velm::machine {

// An entry that stays goes on counting.
void Groups::takeCounters(nexthop_group_t const& group, Draft& draft) {
   if (!group.counters_unshared()) return;
   draft.counters = &counters_;
   auto const* const before = find(group.name());
   for (auto const& [index, entry] : group.nexthops()) {
      auto const present = before == nullptr ? Own::const_iterator() : before->own.find(index);
      if (before != nullptr && present != before->own.end()) {
         draft.own.emplace(*present);
         continue;
      }
      auto const counter = counters_.take();
      if (!counter) throw error(fmt::format("the dataplane has no room for more than {} counters", counters_.room()));
      draft.fresh.push_back(*counter);
      draft.own.emplace(index, *counter);
   }
}

void Groups::ownAre(Id id, Own own) {
   auto const before = std::exchange(groups_[id]->own, std::move(own));
   for (auto const& [index, counter] : before) {
      if (!groups_[id]->own.contains(index)) counters_.retire(counter);
   }
}

traffic Groups::counted(std::string const& name, unsigned short entry) const {
   auto const* const group = find(name);
   if (group == nullptr || group->buckets == nullptr) return {};
   if (auto const own = group->own.find(entry); own != group->own.end()) return counters_.read(own->second);
   absl::btree_set<Exits::Id> exits;
   for (auto const& member : group->buckets->members()) {
      if (member.entry == entry) exits.insert(member.exit);
   }
   traffic sum{};
   for (auto const exit : exits) {
      auto const counted = counters_.read(exit);
      sum.packets += counted.packets;
      sum.octets += counted.octets;
   }
   return sum;
}

}  // namespace velm::machine
