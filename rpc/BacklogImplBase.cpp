#include "rpc/BacklogImplBase.h"

namespace VelmSdkRpc {
namespace {

// The word that an sBFD session is up or down goes first, with 1: traffic may hang on it. RTT figures, with 3, and the
// removal of what no redirect needs any more, with 4, can wait for the events.
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
