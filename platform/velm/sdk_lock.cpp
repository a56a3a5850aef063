#include "platform/velm/sdk_lock.h"

#include <atomic>
#include <chrono>

#include "platform/velm/sdk_lock_gate.h"

namespace velm {
namespace {

// A ticket lock that sleeps: a thread draws a ticket and waits until it is served. Few threads ever wait at once (the
// main loop, the server), so waking them all on release costs nothing, and the order of the tickets is the fairness.
// It is mostly held for a few microseconds, less than it takes to sleep and be woken, so a waiting thread first looks
// on for a moment.
//
// The tickets wrap around, which does no harm: they are only compared for being equal, and there are never more threads
// than numbers.
//
// Drawing a ticket orders nothing and is relaxed. The next holder sees all that the one before it has written, because
// it acquires the very number that the other released.
class TicketLock {
 public:
   void lock() {
      auto const ticket = next_.fetch_add(1, std::memory_order_relaxed);
      if (isServed(ticket)) return;
      for (auto const until = Clock::now() + patience; Clock::now() < until;) {
         if (isServed(ticket)) return;
      }
      for (auto serving = serving_.load(std::memory_order_acquire); serving != ticket;
           serving = serving_.load(std::memory_order_acquire)) {
         serving_.wait(serving, std::memory_order_acquire);
      }
   }
   void unlock() {
      serving_.fetch_add(1, std::memory_order_release);
      serving_.notify_all();
   }

 private:
   using Clock = std::chrono::steady_clock;
   static constexpr std::chrono::microseconds patience{10};

   bool isServed(int ticket) const { return serving_.load(std::memory_order_acquire) == ticket; }

   std::atomic<int> next_{0};
   std::atomic<int> serving_{0};
};

TicketLock ticketLock;
std::atomic<sdk_lock_gate*> lockGate{nullptr};
thread_local int depth = 0;  // how often this thread holds the lock

}  // namespace

sdk_scoped_lock::sdk_scoped_lock() {
   if (depth == 0) {
      if (auto* const gate = lockGate.load(std::memory_order_acquire)) gate->pass();
      ticketLock.lock();
   }
   ++depth;
}

sdk_scoped_lock::~sdk_scoped_lock() {
   if (depth == 1) {
      if (auto* const gate = lockGate.load(std::memory_order_acquire)) gate->leave();
   }
   if (--depth == 0) ticketLock.unlock();
}

bool sdk_scoped_lock::held() { return depth > 0; }

void sdk_lock_gate_is(sdk_lock_gate* gate) { lockGate.store(gate, std::memory_order_release); }

}  // namespace velm
