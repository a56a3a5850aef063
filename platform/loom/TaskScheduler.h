#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace Loom {

/// What a scheduler runs. A run happens on the main loop, under the SDK lock.
class Runnable {
 public:
   virtual ~Runnable() = default;
   virtual void run() = 0;
};

/// Orders runs: by priority, lower number first, and within one by the order of asking. The main loop takes one run at
/// a time and lets go of the SDK lock between two. Thread-safe.
class TaskScheduler {
 public:
   /// Asks for one run; harmless when one is asked for already.
   void schedule(Runnable& runnable, std::uint8_t priority);
   /// Withdraws what was asked for.
   void cancel(Runnable& runnable);
   bool scheduled(Runnable const& runnable) const;

   bool pending() const;
   /// Takes the next run off the queue and does it; false if there is none.
   bool runOne();

   /// What to call when the scheduler, empty until then, is asked for a run.
   void wakeIs(std::function<void()> wake);

 private:
   struct Place {
      std::uint8_t priority;
      std::uint64_t turn;
      auto operator<=>(Place const&) const = default;
   };

   mutable std::mutex mutex_;  // guards all below; never held during a run
   std::map<Place, Runnable*> queue_;
   std::map<Runnable const*, Place> places_;
   std::uint64_t turns_ = 0;
   std::function<void()> wake_;
};

/// The scheduler of the agent's main loop.
class TaskSchedulerRoot {
 public:
   static TaskScheduler& findOrCreateScheduler();
};

}  // namespace Loom
