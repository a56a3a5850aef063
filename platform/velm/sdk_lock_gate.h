#pragma once

namespace velm {

/// Where a thread that is about to take the SDK lock, and does not hold it, waits first: a dataplane whose room will be
/// free in a moment makes threads wait for it here, where they keep nobody else waiting.
class sdk_lock_gate {
 public:
   virtual ~sdk_lock_gate() = default;
   /// Any thread, several at once. Must not take the lock.
   virtual void pass() noexcept = 0;
};

/// Puts the gate there, or takes it away with null. A thread may be inside one that was just taken away: it must
/// outlive the threads that take the lock.
void sdk_lock_gate_is(sdk_lock_gate* gate);

}  // namespace velm
