#include "sbfd/BfdRttBacklogSm.h"

#include <utility>

#include "convert/Format.h"
#include "convert/Utils.h"
#include "native/VelmSdkRpcService.h"
#include "platform/loom/Backlog.h"
#include "platform/velm/format.h"
#include "rpc/ProcessTrace.h"

// The drain itself is Loom's: it walks from the resume key, asks after each entry whether the task should yield, and
// takes out by range what was handled. A key that has been deleted meanwhile still has its place in the map's order, so
// that the walk goes on from there.

// The drain itself is Loom's: it walks from the resume key, asks after each entry whether the task should yield, and
// takes out by range what was handled.
//
//    members in the map's order    a  b  c  d  e  f
//    one run, its time is up       a  b  c |            batch a b c; they go; the next run resumes at d
//    meanwhile                               c comes    waits behind f: the walk goes round to the beginning
//    the next run                              d  e  f  c
//
// So no session waits for more than one round, however fast figures come for others. A key that has been deleted
// meanwhile still has its place in the map's order, so that the walk goes on from there.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "BfdRttBacklogSm";
constexpr Loom::TaskPriority priority = 3;  // after the statuses, which have 1

}  // namespace

/// Has the backlog drained whenever its task runs: a task of this runtime has no body, it notifies.
class BfdRttBacklogSm::QorRttBacklogTask : public Qor::PtrInterface::NotifieeConst {
 public:
   QorRttBacklogTask(BfdRttBacklogSm* sm, Qor::Ptr<Loom::TaskScheduler> const& scheduler, Loom::TaskPriority priority,
                     std::string const& name)
      : sm_(sm), task_(new Loom::Task(scheduler, priority, name)) {
      task_->hasNotificationActiveIs(true);
      isRegisteredNotifieeIs(true);
      notifierIs(task_);
   }

   Qor::Ptr<Loom::Task> const& task() const { return task_; }
   /// Lets the backlog go: runs of the task, which its other holders may still ask for, do nothing from now on.
   void detach() { sm_ = nullptr; }

   void onAttribute(Qor::AttributeId attributeId, void const* /*value*/) override {
      if (attributeId != Loom::Task::runAttribute || qorMarkedForDeletion() || sm_ == nullptr) return;
      sm_->handleRttBacklogTask();
   }

   void qorDoZombieReactors(bool zombie) {
      if (zombie == qorMarkedForDeletion()) return;
      if (notifier()) notifier()->hasNotificationActiveIs(!zombie);
      qorMarkedForDeletionIs(zombie);
   }

 private:
   ~QorRttBacklogTask() override = default;

   BfdRttBacklogSm* sm_;  // owns this
   Qor::Ptr<Loom::Task> const task_;
};

Qor::Ptr<BfdRttBacklogSm> BfdRttBacklogSm::BfdRttBacklogSmIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler,
                                                             VelmSdkRpcService* service) {
   Qor::Ptr<BfdRttBacklogSm> const sm(new BfdRttBacklogSm(scheduler, service));
   sm->hasNotificationActiveIs(true);
   return sm;
}

BfdRttBacklogSm::BfdRttBacklogSm(Qor::Ptr<Loom::TaskScheduler> const& scheduler, VelmSdkRpcService* service)
   : service_(service) {
   rttBacklogTaskIs(scheduler, priority, "bfdRttBacklog");
}

BfdRttBacklogSm::~BfdRttBacklogSm() {
   if (rttBacklogTask_) rttBacklogTask_->detach();
}

void BfdRttBacklogSm::backlogIs(Key const& key, Rtt const& rtt) {
   if (auto* node = backlog_.lookupNodeG(key)) {
      node->value() = rtt;
   } else {
      backlog_.newMemberG(key, rtt);
   }
}

BfdRttBacklogSm::Rtt BfdRttBacklogSm::backlogDel(Key const& key) {
   std::pair<Key, Rtt> removed;
   backlog_.deleteMemberG(key, &removed);
   return std::move(removed.second);
}

void BfdRttBacklogSm::backlogDelAll() { backlog_._memberDelAll(); }

Qor::Ptr<Loom::Task> BfdRttBacklogSm::rttBacklogTaskIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler,
                                                       Loom::TaskPriority priority, std::string const& name) {
   auto const old = rttBacklogTask_;  // kept until the new one is in place
   if (old) {
      auto const& task = old->task();
      if (task->taskScheduler() == scheduler && task->taskPriority() == priority && task->taskName() == name) {
         return task;
      }
   }
   rttBacklogTask_ = new QorRttBacklogTask(this, scheduler, priority, name);
   rttBacklogTask_->hasNotificationActiveIs(true);
   rttBacklogTask_->qorDoZombieReactors(qorMarkedForDeletion());
   // The old one falls silent, the new one drains what waits, and only then the old one is cut off.
   if (old) old->qorDoZombieReactors(true);
   handleRttBacklogTask();
   if (old) old->detach();
   auto const& task = rttBacklogTask_->task();
   task->hasNotificationActiveIs(true);
   return task;
}

Qor::Ptr<Loom::Task> BfdRttBacklogSm::rttBacklogTaskDel() {
   auto const old = std::exchange(rttBacklogTask_, nullptr);
   if (!old) return nullptr;
   old->detach();
   return old->task();
}

Qor::Ptr<Loom::Task> BfdRttBacklogSm::rttBacklogTask() const {
   return rttBacklogTask_ ? rttBacklogTask_->task() : nullptr;
}

void BfdRttBacklogSm::handleRttBacklogTask() {
   pb::watch_sbfd_echo_session_status_msg bulkMsg;
   bulkMsg.mutable_bulk()->Reserve(static_cast<int>(backlog_.members()));  // at most so many leave
   auto& task = *rttBacklogTask_->task();
   Key const sentinel;
   auto const progress =
      Loom::Impl::_processBacklog(backlog_, backlogResumeKey_, sentinel, Loom::Impl::ZuBacklogTaskShouldYield(task),
                                  [&](Key const& key, Rtt& rtt) { handleRttBacklogElem(key, rtt, bulkMsg); });
   task.taskWorkCountInc(progress.processed);
   task.taskWorkPendingIs(progress.pending);
   if (progress.pending != 0) task.scheduleTask();
   trace(className, 3, "{}", progress);
   // Without an end marker: only statuses have one.
   if (!bulkMsg.bulk().empty()) service_->sendSbfdRttUpdate(std::move(bulkMsg));
}

void BfdRttBacklogSm::handleRttBacklogElem(Key const& key, Rtt& rtt, pb::watch_sbfd_echo_session_status_msg& bulkMsg) {
   trace(className, 4, "key={} rtt={}", key, rtt);
   auto& element = *bulkMsg.add_bulk();
   convertKey(key, element.mutable_session_key());
   *element.mutable_rtt() = std::move(rtt);  // the entry goes at the end of the run, so it may be left empty
}

void BfdRttBacklogSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive()) return;
   PtrInterface::hasNotificationActiveIs(active);
   if (rttBacklogTask_) rttBacklogTask_->hasNotificationActiveIs(active);
}

void BfdRttBacklogSm::qorDoZombieReactors(bool zombie) {
   if (zombie == qorMarkedForDeletion()) return;
   if (rttBacklogTask_) rttBacklogTask_->qorDoZombieReactors(zombie);
   qorMarkedForDeletionIs(zombie);
}

}  // namespace VelmSdkRpc
