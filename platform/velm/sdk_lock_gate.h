#pragma once

namespace velm {

/// What a dataplane has to do with the SDK lock. A thread that is about to take it, and does not hold it, waits here
/// first: for room that will be free in a moment, where it keeps nobody else waiting. And what is put off until the end
/// of a hold is done here.
class sdk_lock_gate {
 public:
   virtual ~sdk_lock_gate() = default;
   /// Any thread, several at once. Must not take the lock.
   virtual void pass() noexcept = 0;
   /// The thread gives the lock back when this returns. Must be quick.
   virtual void leave() noexcept = 0;
};

/// Puts the gate there, or takes it away with null. A thread may be inside one that was just taken away: it must
/// outlive the threads that take the lock.
void sdk_lock_gate_is(sdk_lock_gate* gate);

}  // namespace velm
