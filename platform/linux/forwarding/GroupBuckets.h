#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/forwarding/BucketPool.h"
#include "platform/linux/forwarding/Exits.h"

namespace velm::machine {

/// A way out of a group, and how much of its traffic asks for it.
struct Member {
   Exits::Id exit = 0;
   std::uint32_t weight = 1;
   std::uint32_t counter = 0;  // that its packets raise; 0 for none
   unsigned short entry = 0;   // of the group
};

/// The members of a group and their buckets in shared memory, which no packet sees before word() is published. Holds
/// the exits and the buckets as long as it lives; end it after the word that names it has been replaced. The SDK lock
/// guards it.
class GroupBuckets {
 public:
   /// Takes over a use of each member's exit, whatever happens. What `before`, if given, has for a way out that stays
   /// goes on there. Throws velm::error if there is no room for the buckets.
   GroupBuckets(std::vector<Member> members, GroupBuckets const* before, Exits& exits, BucketPool& pool);
   ~GroupBuckets();
   GroupBuckets(GroupBuckets const&) = delete;
   GroupBuckets& operator=(GroupBuckets const&) = delete;

   std::span<Member const> members() const { return members_; }
   /// What packets are to find of the group. Changes with refresh().
   group_word word() const;
   /// Has each bucket served by who is usable now: no bucket whose server stays usable changes hands but to go back to
   /// its owner. Whether anybody is usable; buckets that nobody serves stay as they are.
   bool refresh();
   /// Has members that are not among these serve nobody from now on; takes no room.
   void keepOnly(std::span<Member const> staying);

 private:
   void assign(GroupBuckets const* before);

   Exits& exits_;
   BucketPool& pool_;
   std::vector<Member> members_;
   BucketPool::Block block_;
   std::vector<std::uint32_t> owners_;  // by bucket: whose it is when all are usable
   std::vector<bool> retired_;          // by member: serves nobody any more
   bool alive_ = false;
};

}  // namespace velm::machine
