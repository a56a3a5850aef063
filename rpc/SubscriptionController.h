#pragma once

#include <cstddef>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "platform/velm/sdk_lock.h"

namespace VelmSdkRpc {

// The order of locks when an event is published, which the main loop does with the SDK lock held:
//
//   SDK lock > mutex_             copy the ids, and let go of it: handlers may come and go meanwhile
//   SDK lock > handler table      withHandler: the handler cannot go while
//            > handler's mutex    enqueue copies the event into its queue and sets its alarm if it is idle
//
// The server thread subscribes and cancels without the SDK lock. Were mutex_ held while it waits for that lock, to
// switch the watching, the main loop would wait for mutex_ with the SDK lock in hand, and neither would ever get on.

/// Who watches a service: the ids of the handlers. The SDK's watching is on while there is one, switched by the
/// service's `startWatching()` and `stopWatching()`, which run under the SDK lock. `Service` offers these two, and
/// withHandler of GrpcService.
template <class Service>
class SubscriptionController {
 public:
   explicit SubscriptionController(Service& service) : service_(service) {}

   /// Events from now on concern the handler. Server thread.
   void subscribe(void* id) {
      {
         std::lock_guard const lock(mutex_);
         subscribers_.insert(id);
         if (subscribers_.size() != 1) return;
      }
      switchWatching();
   }

   /// No event is given to the handler any more, once one that is being published has been. An id that is not
   /// subscribed is no error. Server thread, or the main loop for a handler that it finds gone.
   void cancel(void* id) {
      {
         std::lock_guard const lock(mutex_);
         subscribers_.erase(id);
         if (!subscribers_.empty()) return;
      }
      switchWatching();
   }

   /// How many are subscribed, those included that have gone since the last publish.
   std::size_t size() const {
      std::lock_guard const lock(mutex_);
      return subscribers_.size();
   }

   /// Hands a copy to every subscriber that it concerns. `Handler` is the class of the service's watch. A subscriber
   /// whose handler has gone is removed: one whose Write failed goes without having cancelled. Main loop only.
   template <class Handler, class Response>
   void publishA(Response const& response) {
      {
         std::lock_guard const lock(mutex_);
         publishing_.assign(subscribers_.begin(), subscribers_.end());
      }
      for (void* const id : publishing_) {
         bool live = false;
         service_.withHandler(id, [&](auto& handler) { live = static_cast<Handler&>(handler).enqueue(response); });
         if (!live) cancel(id);
      }
   }

 private:
   // Decides anew under the SDK lock: whoever comes later sees what the one before has left, so that watching is on
   // exactly while somebody is subscribed, in whatever order they get the lock.
   void switchWatching() {
      velm::sdk_scoped_lock const sdkLock;
      bool const wanted = size() != 0;
      if (wanted == watching_) return;
      watching_ = wanted;
      wanted ? service_.startWatching() : service_.stopWatching();
   }

   mutable std::mutex mutex_;
   std::unordered_set<void*> subscribers_;  // guarded by mutex_
   std::vector<void*> publishing_;          // main loop only; kept for its room
   bool watching_ = false;                  // guarded by the SDK lock
   Service& service_;
};

}  // namespace VelmSdkRpc
