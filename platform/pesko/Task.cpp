#include "platform/pesko/Task.h"

namespace Pesko {

std::shared_ptr<TaskScheduler> schedulerRootPesko() {
   return Loom::TaskSchedulerRoot::findOrCreateScheduler()->peskoScheduler();
}

TaskStatus TaskImpl::taskStatus() const {
   if (taskRunning()) return TaskStatus::running;
   return taskScheduled() ? TaskStatus::scheduled : TaskStatus::idle;
}

}  // namespace Pesko
