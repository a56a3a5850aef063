#include "platform/linux/forwarding/Redirects.h"

#include <fmt/format.h>

#include <atomic>

#include "platform/velm/errors.h"

namespace velm::machine {

void Redirects::set(PolicyRedirects const& redirects) {
   for (auto it = byGroup_.begin(); it != byGroup_.end();) {
      if (redirects.contains(it->first)) {
         ++it;
      } else {
         drop(it->second);
         it = byGroup_.erase(it);
      }
   }
   for (auto const& [group, byDscp] : redirects) fill(rowOf(group), byDscp);
}

Redirects::Row& Redirects::rowOf(std::string const& group) {
   if (auto const found = byGroup_.find(group); found != byGroup_.end()) return found->second;
   auto const id = groups_.take(group);
   auto const index = rows_.ids.take();
   if (!index) {
      groups_.release(id);
      throw error(fmt::format("the dataplane has no room for redirects of more than {} groups", rows_.ids.size()));
   }
   rows_.shared[*index] = {};
   Row const row{id, *index};
   rows_.finding.is({policy_, row.group}, *index);
   return byGroup_.emplace(group, row).first->second;
}

void Redirects::fill(Row const& row, DscpRedirects const& redirects) {
   for (std::size_t family = 0; family < redirects.size(); ++family) {
      for (std::size_t dscp = 0; dscp < redirects[family].size(); ++dscp) {
         auto& word = rows_.shared[row.index].leaf[family][dscp];
         auto const& name = redirects[family][dscp];
         auto const before = word;
         auto const now = name.empty() ? 0 : leaf_word(LEAF_GROUP, groups_.take(name));
         if (now != before) std::atomic_ref(word).store(now, std::memory_order_release);
         if (before != 0) groups_.release(leaf_index_of(before));
      }
   }
}

void Redirects::drop(Row const& row) {
   fill(row, {});
   rows_.finding.del({policy_, row.group});
   groups_.release(row.group);
   rows_.ids.retire(row.index);
}

}  // namespace velm::machine
