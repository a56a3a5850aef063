#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/grace/GracePeriods.h"

namespace velm::machine {

/// Blocks of buckets in shared memory, each a power of two of them. Blocks are halved on demand and halves that come
/// back are joined. A block that is given back is handed out again after a grace period. The SDK lock guards it.
class BucketPool {
 public:
   static constexpr unsigned largest = 17;  // log2 of the buckets of a group of 65,536 members

   struct Block {
      std::uint32_t first = 0;
      unsigned log2size = 0;
   };

   BucketPool(std::span<bucket_word> shared, GracePeriods& periods);

   /// Nothing if there is no such block; those in their grace period do not count.
   std::optional<Block> take(unsigned log2size);
   /// Gives back one that no group names, or no longer.
   void retire(Block block);

   std::span<bucket_word> buckets(Block block) const {
      return shared_.subspan(block.first, std::size_t{1} << block.log2size);
   }

 private:
   void collect();
   void tellIfScarce() const;
   void put(Block block);

   std::span<bucket_word> const shared_;
   GracePeriods& periods_;
   std::array<std::set<std::uint32_t>, largest + 1> free_;  // first buckets, by log2 of the size
   std::deque<std::pair<GracePeriods::Period, Block>> retired_;
   std::size_t used_ = 0;  // those in their grace period included
};

}  // namespace velm::machine
