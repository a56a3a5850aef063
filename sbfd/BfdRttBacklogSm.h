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

/// The newest RTT figures of each sBFD session that have not been sent yet. A task drains them, one batch a run, and
/// goes on where it stopped when its quantum is used up. Main loop, or under the SDK lock.
class BfdRttBacklogSm : public Qor::PtrInterface {
 public:
   using Key = velm::sbfd_echo_session_key_t;
   using Rtt = pb::sbfd_echo_session_rtt_msg;

   /// One with notification on. The service takes the batches, and outlives it.
   static Qor::Ptr<BfdRttBacklogSm> BfdRttBacklogSmIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler,
                                                      VelmSdkRpcService* service);

   BfdRttBacklogSm(Qor::Ptr<Loom::TaskScheduler> const& scheduler, VelmSdkRpcService* service);

   /// Replaces what waits for the key, which keeps its place in the walk.
   void backlogIs(Key const& key, Rtt const& rtt);
   /// What waited for the key, empty if nothing did.
   Rtt backlogDel(Key const& key);
   void backlogDelAll();

   /// The task that drains; the present one if it is of that kind, else a new one, on which what waits goes out at
   /// once.
   Qor::Ptr<Loom::Task> rttBacklogTaskIs(Qor::Ptr<Loom::TaskScheduler> const& scheduler, Loom::TaskPriority priority,
                                         std::string const& name);
   /// Takes the task off; null if there is none. Until the next one nothing drains.
   Qor::Ptr<Loom::Task> rttBacklogTaskDel();
   Qor::Ptr<Loom::Task> rttBacklogTask() const;

   /// One run of the task. What is not handled waits for the next, which it asks for.
   void handleRttBacklogTask();

   void hasNotificationActiveIs(bool active) override;
   void qorDoZombieReactors(bool zombie);

 private:
   class QorRttBacklogTask;

   static constexpr std::uint32_t seed = 0xFA309D3D;
   using QorBacklog = Qor::HashMap2018NodeExternKey<Key, Rtt, seed>;

   static void handleRttBacklogElem(Key const& key, Rtt& rtt, pb::watch_sbfd_echo_session_status_msg& bulkMsg);

   ~BfdRttBacklogSm() override;

   VelmSdkRpcService* service_;
   Qor::HashMap2018<QorBacklog> backlog_;
   Key backlogResumeKey_;  // the default key: from the beginning
   Qor::Ptr<QorRttBacklogTask> rttBacklogTask_;
};

}  // namespace VelmSdkRpc
