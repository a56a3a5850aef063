#pragma once

#include <cstddef>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "platform/velm/sdk_lock.h"

namespace VelmSdkRpc {

/// Who watches a service: the ids of the handlers. The SDK's watching is on while there is one, switched by the
/// service's `startWatching()` and `stopWatching()`, which run under the SDK lock.
///
/// The SDK lock may be held when the mutex is taken, never the other way about, and no handler is touched with the
/// mutex held: the main loop publishes with the SDK lock, the server thread subscribes without.
template <class Service>
class SubscriptionController {
 public:
   explicit SubscriptionController(Service& service) : service_(service) {}

   void subscribe(void* id) {
      {
         std::lock_guard const lock(mutex_);
         subscribers_.insert(id);
         if (subscribers_.size() != 1) return;
      }
      switchWatching();
   }

   /// One that is not subscribed is no error.
   void cancel(void* id) {
      {
         std::lock_guard const lock(mutex_);
         subscribers_.erase(id);
         if (!subscribers_.empty()) return;
      }
      switchWatching();
   }

   std::size_t size() const {
      std::lock_guard const lock(mutex_);
      return subscribers_.size();
   }

   /// Main loop only: hands a copy to every subscriber that it concerns. `Handler` is the class of the service's watch.
   /// A subscriber whose handler has gone, as one does whose Write failed, is removed.
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
