#pragma once

#include "platform/loom/Task.h"

namespace VelmSdkRpc {

/// Base of the backlogs: owns the task that drains one. Each run of the task, on the main loop under the SDK lock, is
/// one call of handleBacklogTask. A backlog that goes takes its task along, scheduled or not.
class BacklogImplBase {
 public:
   /// The name is the task's.
   BacklogImplBase(Qor::String name, Qor::Ptr<Loom::TaskScheduler> const& scheduler);
   virtual ~BacklogImplBase();
   BacklogImplBase(BacklogImplBase const&) = delete;
   BacklogImplBase& operator=(BacklogImplBase const&) = delete;

   /// Publishes what fits into the task's quantum, one entry at the least, and asks for another run if any are left.
   /// For the task, on the main loop under the SDK lock.
   virtual void handleBacklogTask() = 0;

 protected:
   /// To ask for a run, for its quantum, and for its statistics.
   Loom::Task& task() const { return *task_; }

 private:
   Qor::Ptr<Loom::Task> task_;
};

}  // namespace VelmSdkRpc
