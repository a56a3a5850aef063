#pragma once

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

 private:
   void pass() noexcept override {
      if (auto const until = periods_.scarceUntil(); !periods_.over(until)) periods_.await(until);
   }

   GracePeriods& periods_;
};

}  // namespace velm::machine
