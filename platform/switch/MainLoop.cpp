#include "platform/switch/MainLoop.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <list>
#include <mutex>
#include <optional>
#include <utility>
#include <uv.h>
#include <vector>

#include "platform/qor/Assert.h"
#include "platform/switch/EventQueue.h"
#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

// One libuv loop with three kinds of handle: an async handle that any thread may fire, a timer for whatever is due
// next, and the two signals. All of them end in turn(), which looks for itself what there is to do, so that a wake-up
// too many is harmless and one wake-up stands for any number of events.
//
//    post, postAfter, a task's wake, disable: any thread
//          |  the queue, under the mutex; wake
//          v
//    turn:  deliver      the events that were ready when the turn began, under the SDK lock, let go now and then
//           one task     under the SDK lock
//           onDisable    once, if it was asked for, without the SDK lock: it waits for the server thread
//           sleep        until the next thing is due; at once if there is something
//          |
//          +---> the next turn, until stop()
//
// One task a turn, so that events never wait for more than one slice of a task.
//
// Locks, in this order: the SDK lock, then the loop's own mutex, which guards the queue. The mutex is never held while
// an event runs, for events post events. Threads that hold the SDK lock post without waiting for the loop.
namespace velm::embedded {
namespace {

// Calls what is not the loop's own, a callback or a task. Whatever the exception handler throws, and any exception that
// is no velm::error, must end the process: hence noexcept.
template <class Fn>
void callOut(Fn&& fn) noexcept {
   try {
      fn();
   } catch (error const& e) {
      report_uncaught(e);
   }
}

template <class Time>
std::optional<Time> sooner(std::optional<Time> const& a, std::optional<Time> const& b) {
   return a && b ? std::min(a, b) : a ? a : b;
}

}  // namespace

struct MainLoop::Impl {
   explicit Impl(Qor::Ptr<Loom::TaskScheduler> const& tasks) : scheduler(tasks) {
      must(uv_loop_init(&loop));
      must(uv_async_init(&loop, &wakeUp, [](uv_async_t* handle) { static_cast<Impl*>(handle->data)->turn(); }));
      wakeUp.data = this;
      must(uv_timer_init(&loop, &timer));
      timer.data = this;
      for (std::size_t i = 0; i < signals.size(); ++i) {
         must(uv_signal_init(&loop, &signals[i]));
         signals[i].data = this;
         // Oneshot gives the default action back at once, so that a second signal ends even a process whose main loop
         // hangs in a callback.
         must(uv_signal_start_oneshot(
            &signals[i], [](uv_signal_t* handle, int) { static_cast<Impl*>(handle->data)->onSignal(); },
            i == 0 ? SIGTERM : SIGINT));
      }
      scheduler->wakeIs([this] { wake(); });
   }

   ~Impl() {
      scheduler->wakeIs(nullptr);
      uv_close(reinterpret_cast<uv_handle_t*>(&wakeUp), nullptr);
      uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
      for (auto& signal : signals) uv_close(reinterpret_cast<uv_handle_t*>(&signal), nullptr);
      for (auto& watch : watches) uv_close(reinterpret_cast<uv_handle_t*>(&watch.poll), nullptr);
      uv_run(&loop, UV_RUN_DEFAULT);
      uv_loop_close(&loop);
   }

   static void must(int result) {
      if (result != 0) Qor::assertionFailed(uv_strerror(result));
   }

   void wake() { uv_async_send(&wakeUp); }

   void post(Event event) {
      std::lock_guard const lock(mutex);
      // Where events are ready, whoever added the first has woken the loop, which looks again before it sleeps.
      if (!events.ready()) wake();
      events.add(std::move(event));
   }

   struct Watch {
      uv_poll_t poll;
      Impl* impl;
      std::function<void()> readable;
   };

   // Until the event has run the descriptor stays readable, and would be told again and again.
   static void onReadable(uv_poll_t* handle, int /*status*/, int /*events*/) {
      auto* const watch = static_cast<Watch*>(handle->data);
      uv_poll_stop(handle);
      watch->impl->post([watch] {
         watch->readable();
         uv_poll_start(&watch->poll, UV_READABLE, onReadable);
      });
   }

   void onSignal() {
      for (auto& signal : signals) uv_signal_stop(&signal);
      std::lock_guard const lock(mutex);
      disableAsked = true;
      wake();
   }

   void turn() {
      deliver();
      if (scheduler->pending()) {
         sdk_scoped_lock const lock;
         callOut([&] { scheduler->runOne(); });
      }
      bool disableNow = false;
      {
         std::lock_guard const lock(mutex);
         disableNow = disableAsked && !disabled;
         disabled = disabled || disableAsked;
      }
      if (disableNow) callOut(onDisable);
      sleep();
   }

   bool eventsReady() {
      std::lock_guard const lock(mutex);
      return events.ready();
   }

   void deliver() {
      if (!eventsReady()) return;
      std::size_t next = 0;
      do {
         auto const asked = EventQueue::Clock::now();
         sdk_scoped_lock const lock;
         // Taken under the SDK lock and not before: whoever holds it may still be raising events, and what one hold
         // causes, as a list of commands does, is to be one burst.
         if (next == 0) takeEvents();
         auto const begin = EventQueue::Clock::now();
         auto const until = begin + std::clamp<EventQueue::Clock::duration>(begin - asked, leastHold, mostHold);
         do {
            callOut(batch[next]);
            batch[next] = Event();  // what it captured may belong to the SDK
         } while (++next < batch.size() && EventQueue::Clock::now() < until);
      } while (next < batch.size());
      batch.clear();
      if (batch.capacity() > keptEvents) batch = std::vector<Event>();
   }

   void takeEvents() {
      std::lock_guard const lock(mutex);
      events.take(batch);
   }

   // Goes on at once if there is something to do, else when the next event or timer is due. What another thread adds
   // after this look wakes the loop.
   void sleep() {
      std::lock_guard const lock(mutex);
      if (events.ready() || scheduler->pending()) {
         wake();
      } else if (auto const due = sooner(events.nextDue(), scheduler->nextDue())) {
         // libuv counts whole milliseconds; one too many is late, one too few an idle turn.
         auto const delay = std::chrono::ceil<std::chrono::milliseconds>(*due - EventQueue::Clock::now()).count();
         uv_update_time(&loop);
         must(uv_timer_start(
            &timer, [](uv_timer_t* handle) { static_cast<Impl*>(handle->data)->turn(); },
            static_cast<std::uint64_t>(std::max<std::int64_t>(delay, 0)), 0));
      }
   }

   static constexpr std::size_t keptEvents = 4096;  // room that outlives a storm of events
   // How long the lock is held: short for who waits, yet worth a change of threads; and as long as others have kept the
   // loop waiting, or who holds it for long would raise events faster than they are delivered.
   static constexpr std::chrono::microseconds leastHold{50};
   static constexpr std::chrono::milliseconds mostHold{5};

   Qor::Ptr<Loom::TaskScheduler> const scheduler;
   uv_loop_t loop;
   uv_async_t wakeUp;
   uv_timer_t timer;
   std::array<uv_signal_t, 2> signals;
   std::list<Watch> watches;  // which libuv knows by their addresses
   std::function<void()> onDisable;
   std::vector<Event> batch;  // what the present turn delivers

   std::mutex mutex;  // guards all below; taken after the SDK lock, never held while an event runs
   EventQueue events;
   bool disableAsked = false;
   bool disabled = false;
};

MainLoop::MainLoop(Qor::Ptr<Loom::TaskScheduler> const& scheduler) : impl_(std::make_unique<Impl>(scheduler)) {}
MainLoop::~MainLoop() = default;

void MainLoop::post(Event event) { impl_->post(std::move(event)); }

MainLoop::Waiting MainLoop::postAfter(std::chrono::nanoseconds delay, Event event) {
   auto const due = EventQueue::Clock::now() + std::min<std::chrono::nanoseconds>(delay, std::chrono::years(1));
   std::lock_guard const lock(impl_->mutex);
   if (auto const next = impl_->events.nextDue(); !next || due < *next) impl_->wake();
   return impl_->events.addLater(due, std::move(event));
}

void MainLoop::takeBack(Waiting const& event) {
   std::lock_guard const lock(impl_->mutex);
   impl_->events.delLater(event);
}

std::size_t MainLoop::waiting() const {
   std::lock_guard const lock(impl_->mutex);
   return impl_->events.later();
}

void MainLoop::watch(int fd, std::function<void()> readable) {
   auto& watch = impl_->watches.emplace_back();
   watch.impl = impl_.get();
   watch.readable = std::move(readable);
   Impl::must(uv_poll_init(&impl_->loop, &watch.poll, fd));
   watch.poll.data = &watch;
   uv_poll_start(&watch.poll, UV_READABLE, Impl::onReadable);
}

void MainLoop::disable() {
   std::lock_guard const lock(impl_->mutex);
   impl_->disableAsked = true;
   impl_->wake();
}

void MainLoop::stop() { uv_stop(&impl_->loop); }

void MainLoop::run(std::function<void()> onDisable) {
   impl_->onDisable = std::move(onDisable);
   impl_->wake();  // for what was scheduled before there was a loop
   uv_run(&impl_->loop, UV_RUN_DEFAULT);
}

}  // namespace velm::embedded
