#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/qor/Ptr.h"
#include "platform/qor/Runtime.h"
#include "platform/qor/String.h"

namespace Loom {

class TaskScheduler;

/// Lower runs first.
class TaskPriority {
 public:
   constexpr TaskPriority(std::uint8_t value) : value_(value) {}  // NOLINT(google-explicit-constructor)
   constexpr std::uint8_t value() const { return value_; }
   auto operator<=>(TaskPriority const&) const = default;

 private:
   std::uint8_t value_;
};

/// The part that all kinds of tasks share, and that a scheduler runs. A run happens on the main loop, under the SDK
/// lock; all else here may be called from any thread.
///
/// Going away withdraws what was asked for. The SDK lock must then be held, unless no run can come; a task may go
/// during its own run.
class Runnable {
 public:
   using Clock = std::chrono::steady_clock;

   Runnable(Qor::Ptr<TaskScheduler> const& scheduler, TaskPriority priority, Qor::String const& name);
   virtual ~Runnable();
   Runnable(Runnable const&) = delete;
   Runnable& operator=(Runnable const&) = delete;

   Qor::Ptr<TaskScheduler> const& taskScheduler() const { return scheduler_; }
   TaskPriority taskPriority() const { return priority_; }
   Qor::String const& taskName() const { return name_; }

   /// Asks for one run, after those asked for before at the same priority; harmless when one is asked for already.
   /// A task may ask during its run for another. False if a run was asked for already.
   bool scheduleTask();
   /// Whether a run is asked for.
   bool taskScheduled() const;
   /// Whether a run is under way.
   bool taskRunning() const;

   /// Whether the run under way has used up its quantum; never without a run.
   bool taskShouldYield() const;
   /// How long a run may take before it should yield, in seconds; 20 ms at first.
   Qor::Seconds taskQuantum() const;
   void taskQuantumIs(Qor::Seconds quantum);

   /// Statistics: work done since the start, work left.
   void taskWorkCountInc(std::uint64_t count);
   void taskWorkPendingIs(std::uint32_t pending);

 protected:
   virtual void run() = 0;

   /// Asks for a run once the delay is over. Does nothing when one is asked for already, or for a sooner time.
   void scheduleAfter(std::chrono::nanoseconds delay);
   /// The name under which taskStats() shows the task; at first its own.
   void statsNameIs(std::string name);
   /// Counts runs and work from zero again.
   void resetStats();

 private:
   friend class TaskScheduler;

   // A place in the queue, and one among the timers; the turn makes it unique and keeps the order of asking.
   struct Place {
      TaskPriority priority;
      std::uint64_t turn;
      auto operator<=>(Place const&) const = default;
   };
   struct Expiry {
      Clock::time_point due;
      std::uint64_t turn;
      auto operator<=>(Expiry const&) const = default;
   };

   Qor::Ptr<TaskScheduler> const scheduler_;
   TaskPriority const priority_;
   Qor::String const name_;

   // The scheduler's mutex guards all below.
   std::optional<Place> place_;    // set while a run is asked for
   std::optional<Expiry> expiry_;  // set while a timer is armed
   Qor::Seconds quantum_ = 0.020;
   std::string statsName_;
   std::uint64_t runs_ = 0;
   std::uint64_t workCount_ = 0;
   std::uint32_t workPending_ = 0;
};

}  // namespace Loom
