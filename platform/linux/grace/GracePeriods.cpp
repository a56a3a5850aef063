#include "platform/linux/grace/GracePeriods.h"

#include <utility>

namespace velm::machine {

GracePeriods::GracePeriods(Wait wait)
   : wait_(std::move(wait)), thread_([this](std::stop_token const& stop) { run(stop); }) {}

GracePeriods::Period GracePeriods::next() {
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
      begun_ = asked_;
      lock.unlock();
      wait_();
      lock.lock();
      over_ = begun_;
      changed_.notify_all();
   }
}

}  // namespace velm::machine
