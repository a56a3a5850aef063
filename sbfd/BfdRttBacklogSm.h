#pragma once

#include <cstdint>
#include <string>

#include "platform/loom/Task.h"
#include "platform/qor/HashMap2018.h"
#include "platform/qor/PtrInterface.h"
#include "platform/velm/bfd.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// The newest RTT figures of each sBFD session that have not been sent yet. The switch reports them at its own pace; of
/// what it says of one session before the next run only the last leaves. A task drains them, one batch a run, and when
/// its quantum is used up stops and goes on from there in the next run, so that a million sessions do not hold up the
/// loop.
///
/// Main loop, or under the SDK lock; takes no lock of its own. Counted by Qor::Ptr: its holders share it.
class BfdRttBacklogSm : public Qor::PtrInterface {
 public:
   using Key = velm::sbfd_echo_session_key_t;
   using Rtt = pb::sbfd_echo_session_rtt_msg;

   /// Makes a backlog whose task runs when asked to, as notification is on. The service takes the batches, and outlives
   /// the backlog. Nothing here asks for a run: whoever adds figures schedules the task.
   static Qor::Ptr<BfdRttBacklogSm> BfdRttBacklogSmIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler,
                                                      VelmSdkRpcService* service);

   /// Makes one with its task, notification off.
   BfdRttBacklogSm(Qor::Ptr<Loom::TaskScheduler> const& scheduler, VelmSdkRpcService* service);

   /// Adds the figures, or replaces those that wait for the key, which then keeps its place in the walk.
   void backlogIs(Key const& key, Rtt const& rtt);
   /// Takes out what waits for the key, and gives it; an empty message if nothing did. Allowed between any two runs.
   Rtt backlogDel(Key const& key);
   void backlogDelAll();

   /// Sets the task that drains, and gives it. The present one stays if it has this scheduler, priority and name; else
   /// it is replaced, and what waits goes out at once on the new one. Runs of the old one do nothing from then on.
   Qor::Ptr<Loom::Task> rttBacklogTaskIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler, Loom::TaskPriority priority,
                                         std::string const& name);
   /// Takes the task off, and gives it; null if there is none. Until the next one is set nothing drains.
   Qor::Ptr<Loom::Task> rttBacklogTaskDel();
   Qor::Ptr<Loom::Task> rttBacklogTask() const;

   /// One run of the task: sends one batch, if anything waits. What is not handled waits for the next run, which this
   /// one asks for.
   void handleRttBacklogTask();

   // Notification and the mark for deletion reach the task's reactor as well.
   void hasNotificationActiveIs(bool active) override;
   void qorDoZombieReactors(bool zombie);

 private:
   class QorRttBacklogTask;

   static constexpr std::uint32_t seed = 0xFA309D3D;
   using QorBacklog = Qor::HashMap2018NodeExternKey<Key, Rtt, seed>;

   // Adds one element to the batch. Must not touch the backlog, which is being walked.
   static void handleRttBacklogElem(Key const& key, Rtt& rtt, pb::watch_sbfd_echo_session_status_msg& bulkMsg);

   ~BfdRttBacklogSm() override;

   VelmSdkRpcService* service_;
   Qor::HashMap2018<QorBacklog> backlog_;
   Key backlogResumeKey_;  // where the next run begins; the default key: at the beginning
   Qor::Ptr<QorRttBacklogTask> rttBacklogTask_;
};

}  // namespace VelmSdkRpc
