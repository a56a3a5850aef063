#pragma once

#include "platform/linux/forwarding/Labels.h"
#include "platform/linux/forwarding/Resting.h"
#include "platform/linux/grace/GracePeriods.h"
#include "platform/velm/sdk_lock_gate.h"

namespace velm::machine {

/// Has threads that are about to take the SDK lock wait for a grace period, while little is free and more will be: so
/// a burst of changes is slowed down and not refused. What one hold of the lock changes must fit in what is free. At
/// its end labels that have gone go, and what rests on what has changed follows it.
class LockGate : sdk_lock_gate {
 public:
   LockGate(GracePeriods& periods, Labels& labels, Resting& rests) : periods_(periods), labels_(labels), rests_(rests) {
      sdk_lock_gate_is(this);
   }
   /// No other thread may be inside the SDK any more.
   ~LockGate() override { sdk_lock_gate_is(nullptr); }
   LockGate(LockGate const&) = delete;
   LockGate& operator=(LockGate const&) = delete;

 private:
   void pass() noexcept override {
      if (auto const until = periods_.scarceUntil(); !periods_.over(until)) periods_.await(until);
   }
   void leave() noexcept override {
      rests_.settle();
      labels_.settle();
   }

   GracePeriods& periods_;
   Labels& labels_;
   Resting& rests_;
};

}  // namespace velm::machine
