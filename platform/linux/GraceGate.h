#pragma once

#include <atomic>

#include "platform/linux/grace/GracePeriods.h"
#include "platform/velm/sdk_lock_gate.h"

namespace velm::machine {

/// Has threads that are about to take the SDK lock wait for a grace period, while little is free and more will be: so
/// a burst of changes is slowed down and not refused. What one hold of the lock changes must fit in what is free.
class GraceGate : sdk_lock_gate {
 public:
   explicit GraceGate(GracePeriods& periods) : periods_(periods) { sdk_lock_gate_is(this); }
   /// No other thread may be inside the SDK any more.
   ~GraceGate() override { sdk_lock_gate_is(nullptr); }

   /// Any thread.
   void closeUntil(GracePeriods::Period period) { until_.store(period, std::memory_order_relaxed); }

 private:
   void pass() noexcept override {
      if (auto const until = until_.load(std::memory_order_relaxed); !periods_.over(until)) periods_.await(until);
   }

   GracePeriods& periods_;
   std::atomic<GracePeriods::Period> until_ = 0;
};

}  // namespace velm::machine
