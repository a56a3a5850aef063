#pragma once

namespace velm {

/// The one lock in front of the SDK: while one exists on a thread, no other thread is inside a manager, a callback or
/// a task. Recursive: a thread that holds it may take it again. Fair: waiting threads get it in the order in which they
/// came, so that neither the main loop nor the server thread can starve the other.
///
/// Managers take it for themselves; hold it to make several calls one step or to keep an iterator still.
/// Order: before any mutex of the agent, never while one is held.
class sdk_scoped_lock {
 public:
   sdk_scoped_lock();
   ~sdk_scoped_lock();
   sdk_scoped_lock(sdk_scoped_lock const&) = delete;
   sdk_scoped_lock& operator=(sdk_scoped_lock const&) = delete;

   /// Whether the calling thread holds the lock.
   static bool held();
};

}  // namespace velm
