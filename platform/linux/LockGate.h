#pragma once

#include "platform/linux/PolicyCarriers.h"
#include "platform/linux/forwarding/Labels.h"
#include "platform/linux/forwarding/Resting.h"
#include "platform/linux/grace/GracePeriods.h"
#include "platform/velm/sdk_lock_gate.h"

namespace velm::machine {

/// Has threads that are about to take the SDK lock wait for a grace period, while little is free and more will be: so
/// a burst of changes is slowed down and not refused. What one hold of the lock changes must fit in what is free. At
/// its end policy maps are read whose parts have changed, what rests on what has changed follows it, and labels that
/// have gone go.
class LockGate : sdk_lock_gate {
 public:
   LockGate(GracePeriods& periods, PolicyMapCarrier& policyMaps, Resting& rests, Labels& labels)
      : periods_(periods), policyMaps_(policyMaps), rests_(rests), labels_(labels) {
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
      policyMaps_.settle();
      rests_.settle();
      labels_.settle();
   }

   GracePeriods& periods_;
   PolicyMapCarrier& policyMaps_;
   Resting& rests_;
   Labels& labels_;
};

}  // namespace velm::machine
