#include "rpc/BacklogImplBase.h"

namespace VelmSdkRpc {
namespace {

constexpr Loom::TaskPriority backlogPriority = 2;

class BacklogTask : public Loom::Task {
 public:
   BacklogTask(Qor::String const& name, Qor::Ptr<Loom::TaskScheduler> const& scheduler, BacklogImplBase& backlog)
      : Task(scheduler, backlogPriority, name), backlog_(backlog) {}

 protected:
   void run() override { backlog_.handleBacklogTask(); }

 private:
   BacklogImplBase& backlog_;  // owns this task
};

}  // namespace

BacklogImplBase::BacklogImplBase(Qor::String name, Qor::Ptr<Loom::TaskScheduler> const& scheduler)
   : task_(new BacklogTask(name, scheduler, *this)) {}

BacklogImplBase::~BacklogImplBase() = default;

}  // namespace VelmSdkRpc
