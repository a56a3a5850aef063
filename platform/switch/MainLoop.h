#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/loom/TaskScheduler.h"
#include "platform/switch/Event.h"
#include "platform/switch/EventQueue.h"

namespace velm::embedded {

/// The SDK's event loop, on libuv. A turn delivers the events that were queued when it began and then runs one task,
/// under the SDK lock, which is free around the task and every 50 us of the events for whoever waits, or after as long
/// as the loop has waited for it, 5 ms at most. So a storm of events starves neither the tasks nor the server thread,
/// nor do they starve the events, and what one list of commands causes stays one burst.
///
/// From construction on the first SIGTERM or SIGINT asks for disabling; the next one ends the process.
class MainLoop {
 public:
   using Event = embedded::Event;

   explicit MainLoop(Qor::Ptr<Loom::TaskScheduler> const& scheduler);
   ~MainLoop();
   MainLoop(MainLoop const&) = delete;
   MainLoop& operator=(MainLoop const&) = delete;

   /// Queues an event, to run on the loop's thread under the SDK lock, in order. Any thread; never waits.
   void post(Event event);
   /// Names an event that waits for its time.
   using Waiting = EventQueue::Place;
   /// Queues an event once the delay is over, in the order of the times and, of one time, in that of the asking. Any
   /// thread; never waits. What is not due when the loop stops is dropped with the loop.
   Waiting postAfter(std::chrono::nanoseconds delay, Event event);
   /// Takes back an event that still waits for its time; once it is queued nothing happens. Any thread.
   void takeBack(Waiting const& event);
   /// How many events wait for their time. Any thread.
   std::size_t waiting() const;
   /// Runs `readable`, as an event is run, whenever the descriptor is readable, which it should read empty. On the
   /// loop's thread, or before run(); once for a descriptor, which stays open as long as the loop turns.
   void watch(int fd, std::function<void()> readable);
   /// Asks for the disabling of the agent, after what is queued. Any thread; once is enough.
   void disable();
   /// Makes run() return after the present turn. Loop's thread, or before run().
   void stop();

   /// Turns until stop(). onDisable runs once, on the loop's thread, without the SDK lock.
   void run(std::function<void()> onDisable);

 private:
   struct Impl;
   std::unique_ptr<Impl> impl_;
};

}  // namespace velm::embedded
