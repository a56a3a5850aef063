#include "platform/linux/grace/GracePeriods.h"

#include <utility>

namespace velm::machine {

GracePeriods::GracePeriods(Wait wait)
   : wait_(std::move(wait)), thread_([this](std::stop_token const& stop) { run(stop); }) {}

GracePeriods::Period GracePeriods::next() {
   // The fence puts what the caller has stored before the look at begun_: a period that has not begun by then begins
   // after it.
   std::atomic_thread_fence(std::memory_order_seq_cst);
   if (auto const asked = asked_.load(); asked != begun_.load()) return asked;
   std::lock_guard const lock(mutex_);
   if (asked_ == begun_) {
      ++asked_;
      changed_.notify_all();
   }
   return asked_;
}

void GracePeriods::await(Period period) {
   std::unique_lock lock(mutex_);
   changed_.wait(lock, [&] { return over(period); });
}

void GracePeriods::run(std::stop_token const& stop) {
   std::unique_lock lock(mutex_);
   while (changed_.wait(lock, stop, [this] { return asked_ != begun_; }) && !stop.stop_requested()) {
      begun_ = asked_.load();
      lock.unlock();
      wait_();
      lock.lock();
      over_ = begun_.load();
      changed_.notify_all();
   }
}

}  // namespace velm::machine
