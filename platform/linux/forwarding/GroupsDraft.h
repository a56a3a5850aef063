#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/forwarding/Groups.h"

namespace velm::machine {

/// Buckets by group, the one that is set first, and each parent after its children.
class Groups::Draft {
 public:
   nexthop_group_t form;
   std::vector<EntryForm> entries;
   std::vector<std::pair<Id, std::unique_ptr<GroupBuckets>>> buckets;
   Own own;
   std::vector<Counters::Id> fresh;  // of these, taken for the draft
   Id id = 0;
   Groups* owner = nullptr;
   Counters* counters = nullptr;

   Draft() = default;
   Draft(Draft const&) = delete;
   Draft& operator=(Draft const&) = delete;
   ~Draft() {
      for (auto const counter : fresh) counters->retire(counter);
      if (owner != nullptr) owner->release(id);
   }
   bool has(Id group) const {
      return std::ranges::any_of(buckets, [&](auto const& drafted) { return drafted.first == group; });
   }
};

}  // namespace velm::machine
