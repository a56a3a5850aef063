#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/loom/Runnable.h"
#include "platform/qor/PtrInterface.h"

namespace Pesko {
class TaskScheduler;
}

namespace Loom {

/// A task's statistics: how it is to be run, and what it has done since it was made or its statistics were reset.
struct TaskStats {
   std::string name;
   TaskPriority priority;
   Qor::Seconds quantum;
   std::uint64_t runs;
   std::uint64_t workCount;
   std::uint32_t workPending;
};

/// Orders the runs of tasks: by priority, lower number first, and within one by the order of asking. The main loop
/// takes one run at a time and lets go of the SDK lock between two. Thread-safe. Tasks are not owned: each enters
/// itself when it is made and leaves when it goes.
class TaskScheduler : public Qor::PtrInterface {
 public:
   using Clock = Runnable::Clock;

   TaskScheduler();

   /// The Pesko scheduler inside: the same queue under its other name.
   std::shared_ptr<Pesko::TaskScheduler> const& peskoScheduler() const { return pesko_; }

   /// All tasks there are, of either kind, ordered by name.
   std::vector<TaskStats> taskStats() const;

   /// Whether a run is due.
   bool pending();
   /// When the next timer expires, if one is armed that has not.
   std::optional<Clock::time_point> nextDue() const;
   /// Does the next run that is due; false if there is none. For the main loop, under the SDK lock.
   bool runOne();
   /// Does one run now, asked for or not; not from within another. For tests.
   void run(Runnable& runnable);

   /// Sets the function to call when there is something to do sooner than pending() and nextDue() told. Runs with the
   /// scheduler's mutex held, so that it ends with the call that replaces it; it must neither wait nor call back.
   void wakeIs(std::function<void()> wake);

 protected:
   ~TaskScheduler() override;

 private:
   friend class Runnable;

   void add(Runnable& runnable);
   void remove(Runnable& runnable);
   bool schedule(Runnable& runnable);
   void scheduleAt(Runnable& runnable, Clock::time_point due);

   // These want the mutex held.
   void enqueue(Runnable& runnable);
   void disarm(Runnable& runnable);
   void expireTimers();

   std::shared_ptr<Pesko::TaskScheduler> const pesko_;

   mutable std::mutex mutex_;  // guards all below and the tasks' own state; never held during a run
   std::map<Runnable::Place, Runnable*> queue_;
   std::map<Runnable::Expiry, Runnable*> timers_;
   std::set<Runnable*> all_;
   std::uint64_t turns_ = 0;
   Runnable* running_ = nullptr;
   Clock::time_point runStart_;
   std::function<void()> wake_;
};

/// The scheduler of the agent's main loop.
class TaskSchedulerRoot {
 public:
   /// Always the same one, made on first use.
   static Qor::Ptr<TaskScheduler> findOrCreateScheduler();
};

}  // namespace Loom
