#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/pesko/Task.h"

namespace velm::embedded {

/// A scheduler of a test's own.
inline Qor::Ptr<Loom::TaskScheduler> makeScheduler() { return new Loom::TaskScheduler; }

/// A timer task that does what the test says.
struct Job : Pesko::TimerTask {
   Job(Qor::Ptr<Loom::TaskScheduler> const& scheduler, Pesko::TaskPriority priority, std::function<void()> work,
       std::string const& name = "job")
      : TimerTask(scheduler->peskoScheduler(), priority, name), work(std::move(work)) {}
   void timeout() override { work(); }

   std::function<void()> work;
};

}  // namespace velm::embedded
