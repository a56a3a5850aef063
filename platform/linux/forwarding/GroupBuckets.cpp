#include "platform/linux/forwarding/GroupBuckets.h"

#include <absl/container/flat_hash_map.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <utility>

#include "platform/linux/forwarding/Buckets.h"
#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

// Buckets are not given up for a group that shrinks a little: where there are fewer, traffic of members that stay would
// move.
unsigned orderFor(std::size_t members, unsigned before) {
   constexpr unsigned muchLess = 4;
   auto const needed = static_cast<unsigned>(std::countr_zero(bucketCount(members)));
   return needed >= before || needed + muchLess < before ? needed : before;
}

// For each member of the one the number that it has among the members of the other, or nobody; of several with one exit
// the first is the first's.
std::vector<std::uint32_t> successors(std::span<Member const> before, std::span<Member const> now) {
   absl::flat_hash_map<Exits::Id, std::vector<std::uint32_t>> byExit;
   for (auto i = static_cast<std::uint32_t>(now.size()); i-- > 0;) byExit[now[i].exit].push_back(i);
   std::vector<std::uint32_t> numbers(before.size(), nobody);
   for (std::size_t i = 0; i < before.size(); ++i) {
      auto const found = byExit.find(before[i].exit);
      if (found == byExit.end() || found->second.empty()) continue;
      numbers[i] = found->second.back();
      found->second.pop_back();
   }
   return numbers;
}

}  // namespace

GroupBuckets::GroupBuckets(std::vector<Member> members, GroupBuckets const* before, Exits& exits, BucketPool& pool)
   : exits_(exits), pool_(pool), members_(std::move(members)) {
   if (members_.empty()) return;
   auto const block = pool_.take(orderFor(members_.size(), before == nullptr ? 0 : before->block_.log2size));
   if (!block) {
      for (auto const& member : members_) exits_.release(member.exit);
      throw error(fmt::format("the dataplane has no room for the buckets of {} members", members_.size()));
   }
   block_ = *block;
   retired_.resize(members_.size());
   assign(before);
   refresh();
}

GroupBuckets::~GroupBuckets() {
   for (auto const& member : members_) exits_.release(member.exit);
   if (!members_.empty()) pool_.retire(block_);
}

void GroupBuckets::assign(GroupBuckets const* before) {
   std::vector<std::uint32_t> weights;
   for (auto const& member : members_) weights.push_back(member.weight);
   std::vector<std::uint32_t> present(std::size_t{1} << block_.log2size, nobody);
   if (before != nullptr && !before->members_.empty()) {
      auto const numbers = successors(before->members_, members_);
      // A flow's bucket is the low bits of its hash, so it comes from the bucket of fewer, or the first of more.
      auto const mask = before->owners_.size() - 1;
      for (std::size_t i = 0; i < present.size(); ++i) present[i] = numbers[before->owners_[i & mask]];
   }
   owners_ = assignBuckets(present, weights);
}

group_word GroupBuckets::word() const {
   return alive_ ? group_of(block_.first, block_.log2size) : static_cast<group_word>(GROUP_EXISTS);
}

bool GroupBuckets::refresh() {
   std::vector<bool> usable;
   usable.reserve(members_.size());
   for (std::size_t i = 0; i < members_.size(); ++i) {
      usable.push_back(!retired_[i] && exits_.usable(members_[i].exit));
   }
   auto const isUsable = [&](std::uint32_t member) { return usable[member]; };
   auto const buckets = pool_.buckets(block_);
   alive_ = std::ranges::find(usable, true) != usable.end();
   if (!alive_) return false;
   for (std::uint32_t i = 0; i < owners_.size(); ++i) {
      auto const server =
         usable[owners_[i]] ? owners_[i] : standIn(i, static_cast<std::uint32_t>(members_.size()), isUsable);
      auto const word = bucket_of(members_[server].exit, members_[server].counter);
      if (buckets[i] != word) std::atomic_ref(buckets[i]).store(word, std::memory_order_release);
   }
   return true;
}

void GroupBuckets::keepOnly(std::span<Member const> staying) {
   auto const numbers = successors(members_, staying);
   for (std::size_t i = 0; i < numbers.size(); ++i) retired_[i] = numbers[i] == nobody;
   refresh();
}

}  // namespace velm::machine
