#include "platform/linux/forwarding/BucketPool.h"

namespace velm::machine {

BucketPool::BucketPool(std::span<bucket_word> shared, GracePeriods& periods) : shared_(shared), periods_(periods) {
   std::uint32_t const whole = 1U << largest;
   for (std::uint32_t first = 0; first + whole <= shared.size(); first += whole) free_[largest].insert(first);
}

void BucketPool::retire(Block block) {
   retired_.emplace_back(periods_.next(), block);
   tellIfScarce();
}

void BucketPool::tellIfScarce() const {
   constexpr std::size_t spareShare = 8;
   if (!retired_.empty() && shared_.size() - used_ < shared_.size() / spareShare) {
      periods_.scarceUntil(retired_.back().first);
   }
}

std::optional<BucketPool::Block> BucketPool::take(unsigned log2size) {
   collect();
   tellIfScarce();
   auto from = log2size;
   while (from <= largest && free_[from].empty()) ++from;
   if (from > largest) return std::nullopt;
   auto const first = free_[from].extract(free_[from].begin()).value();
   while (from > log2size) {
      --from;
      free_[from].insert(first + (1U << from));
   }
   used_ += std::size_t{1} << log2size;
   return Block{first, log2size};
}

void BucketPool::collect() {
   for (; !retired_.empty() && periods_.over(retired_.front().first); retired_.pop_front()) {
      put(retired_.front().second);
   }
}

void BucketPool::put(Block block) {
   used_ -= std::size_t{1} << block.log2size;
   while (block.log2size < largest && free_[block.log2size].erase(block.first ^ 1U << block.log2size) > 0) {
      block.first &= ~(1U << block.log2size);
      ++block.log2size;
   }
   free_[block.log2size].insert(block.first);
}

}  // namespace velm::machine
