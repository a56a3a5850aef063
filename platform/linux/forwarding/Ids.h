#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/grace/GracePeriods.h"

namespace velm::machine {

/// The indexes of a shared array that are free. One that is given back is handed out again after a grace period, so
/// that no program which still reads it finds another's row there; where few are left, that is called scarce. The SDK
/// lock guards it.
class Ids {
 public:
   /// Index 0 is nobody's.
   Ids(std::uint32_t size, GracePeriods& periods) : size_(size), periods_(periods) {}

   /// Nothing if none is left; those in their grace period do not count.
   std::optional<std::uint32_t> take() {
      collect();
      tellIfScarce();
      if (!free_.empty()) {
         auto const id = free_.back();
         free_.pop_back();
         return id;
      }
      if (next_ == size_) return std::nullopt;
      return next_++;
   }
   /// After the last word that names it has been replaced.
   void retire(std::uint32_t id) {
      retired_.emplace_back(periods_.next(), id);
      tellIfScarce();
   }

   std::uint32_t size() const { return size_ - 1; }

 private:
   void tellIfScarce() const {
      constexpr std::size_t spareShare = 8;
      auto const left = free_.size() + (size_ - next_);
      if (!retired_.empty() && left < size_ / spareShare) periods_.scarceUntil(retired_.back().first);
   }
   void collect() {
      for (; !retired_.empty() && periods_.over(retired_.front().first); retired_.pop_front()) {
         free_.push_back(retired_.front().second);
      }
   }

   std::uint32_t const size_;
   std::uint32_t next_ = 1;
   std::vector<std::uint32_t> free_;
   std::deque<std::pair<GracePeriods::Period, std::uint32_t>> retired_;
   GracePeriods& periods_;
};

}  // namespace velm::machine
