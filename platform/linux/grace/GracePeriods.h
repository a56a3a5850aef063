#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace velm::machine {

/// When what no shared word names any more can be used again: once every program that was running has ended. That takes
/// the kernel milliseconds, so a thread of its own waits, once for all that has come together since it last began.
///
///   auto const period = periods.next();   // after the word that named it was replaced
///   ...
///   if (periods.over(period)) ...          // nobody reads it any more
///
/// Thread-safe. At its end it waits for a period that is under way; nobody may be in await() then.
class GracePeriods {
 public:
   /// Returns when everything that was running at the call has ended. Called by the thread alone, without a lock; must
   /// not throw.
   using Wait = std::function<void()>;
   /// Later ones are greater.
   using Period = std::uint64_t;

   explicit GracePeriods(Wait wait);
   GracePeriods(GracePeriods const&) = delete;
   GracePeriods& operator=(GracePeriods const&) = delete;

   /// Asks for a grace period that begins after this call, and names it. Cheap: most calls share one.
   Period next();
   bool over(Period period) const { return period <= over_.load(std::memory_order_acquire); }
   /// Returns when it is over. Call it without a lock that whoever calls next() needs, or what Wait waits for.
   void await(Period period);

   /// Little is free of something until that period is over. Who is about to use it up waits first, where that keeps
   /// nobody else waiting.
   void scarceUntil(Period period) { scarceUntil_.store(period, std::memory_order_relaxed); }
   Period scarceUntil() const { return scarceUntil_.load(std::memory_order_relaxed); }

 private:
   void run(std::stop_token const& stop);

   Wait const wait_;
   std::mutex mutex_;
   std::condition_variable_any changed_;
   // All three are raised under mutex_.
   std::atomic<Period> asked_ = 0;
   std::atomic<Period> begun_ = 0;
   std::atomic<Period> over_ = 0;
   std::atomic<Period> scarceUntil_ = 0;
   std::jthread thread_;  // last: it uses the rest
};

}  // namespace velm::machine
