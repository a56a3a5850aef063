#pragma once

#include "platform/loom/Task.h"

namespace VelmSdkRpc {

/// Base of the backlogs: owns the task that drains one, a slice a run, on the main loop.
class BacklogImplBase {
 public:
   /// The name is the task's.
   BacklogImplBase(Qor::String name, Qor::Ptr<Loom::TaskScheduler> const& scheduler);
   virtual ~BacklogImplBase();
   BacklogImplBase(BacklogImplBase const&) = delete;
   BacklogImplBase& operator=(BacklogImplBase const&) = delete;

   /// One slice: a run of the task.
   virtual void handleBacklogTask() = 0;

 protected:
   Loom::Task& task() const { return *task_; }

 private:
   Qor::Ptr<Loom::Task> task_;
};

}  // namespace VelmSdkRpc
