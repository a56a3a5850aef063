#include "platform/switch/MainLoop.h"

#include <array>
#include <csignal>
#include <deque>
#include <mutex>
#include <utility>
#include <uv.h>

#include "platform/qor/Assert.h"
#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm::embedded {
namespace {

// What the exception handler throws, and any error outside the family, must end the process: hence noexcept.
template <class Fn>
void guarded(Fn&& fn) noexcept {
   try {
      fn();
   } catch (error const& e) {
      report_uncaught(e);
   }
}

}  // namespace

struct MainLoop::Impl {
   explicit Impl(Loom::TaskScheduler& tasks) : scheduler(tasks) {
      must(uv_loop_init(&loop));
      must(uv_async_init(&loop, &wakeUp, [](uv_async_t* handle) { static_cast<Impl*>(handle->data)->turn(); }));
      wakeUp.data = this;
      for (std::size_t i = 0; i < signals.size(); ++i) {
         must(uv_signal_init(&loop, &signals[i]));
         signals[i].data = this;
         // Oneshot gives the default action back at once, so that a second signal ends even a process whose main loop
         // hangs in a callback.
         must(uv_signal_start_oneshot(
            &signals[i], [](uv_signal_t* handle, int) { static_cast<Impl*>(handle->data)->onSignal(); },
            i == 0 ? SIGTERM : SIGINT));
      }
      scheduler.wakeIs([this] { wake(); });
   }

   ~Impl() {
      scheduler.wakeIs(nullptr);
      uv_close(reinterpret_cast<uv_handle_t*>(&wakeUp), nullptr);
      for (auto& signal : signals) uv_close(reinterpret_cast<uv_handle_t*>(&signal), nullptr);
      uv_run(&loop, UV_RUN_DEFAULT);
      uv_loop_close(&loop);
   }

   static void must(int result) {
      if (result != 0) Qor::assertionFailed(uv_strerror(result));
   }

   void wake() { uv_async_send(&wakeUp); }

   void onSignal() {
      for (auto& signal : signals) uv_signal_stop(&signal);
      std::lock_guard const lock(mutex);
      disableAsked = true;
      wake();
   }

   void turn() {
      deliver();
      if (scheduler.pending()) {
         sdk_scoped_lock const lock;
         guarded([&] { scheduler.runOne(); });
      }
      bool disableNow = false;
      {
         std::lock_guard const lock(mutex);
         disableNow = disableAsked && !disabled;
         disabled = disabled || disableAsked;
      }
      if (disableNow) guarded(onDisable);
      std::lock_guard const lock(mutex);
      if (!queue.empty() || scheduler.pending()) wake();
   }

   void deliver() {
      std::size_t count = 0;
      {
         std::lock_guard const lock(mutex);
         count = queue.size();
      }
      for (; count > 0; --count) {
         sdk_scoped_lock const sdkLock;
         Event event;
         {
            std::lock_guard const lock(mutex);
            event = std::move(queue.front());
            queue.pop_front();
         }
         guarded(event);
      }
   }

   Loom::TaskScheduler& scheduler;
   uv_loop_t loop;
   uv_async_t wakeUp;
   std::array<uv_signal_t, 2> signals;
   std::function<void()> onDisable;

   std::mutex mutex;  // guards all below; taken behind the SDK lock, never held while an event runs
   std::deque<Event> queue;
   bool disableAsked = false;
   bool disabled = false;
};

MainLoop::MainLoop(Loom::TaskScheduler& scheduler) : impl_(std::make_unique<Impl>(scheduler)) {}
MainLoop::~MainLoop() = default;

void MainLoop::post(Event event) {
   std::lock_guard const lock(impl_->mutex);
   impl_->queue.push_back(std::move(event));
   if (impl_->queue.size() == 1) impl_->wake();
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
