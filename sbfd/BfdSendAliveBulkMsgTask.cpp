#include "sbfd/BfdSendAliveBulkMsgTask.h"

#include <utility>

#include "native/VelmSdkRpcService.h"
#include "platform/pesko/MemTrack.h"
#include "platform/qor/Assert.h"
#include "rpc/ProcessTrace.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "BfdSendAliveBulkMsgTask";
constexpr Pesko::TaskPriority priority = 1;  // before RTT figures and the services' backlogs
constexpr int usualBurst = 100;              // a burst of up to so many changes is gathered without new storage

}  // namespace

std::shared_ptr<BfdSendAliveBulkMsgTask> BfdSendAliveBulkMsgTask::make(
   VelmSdkRpcService* service, pb::watch_sbfd_echo_session_status_msg* aliveBulkMsg) {
   return std::allocate_shared<BfdSendAliveBulkMsgTask>(Pesko::Allocator<BfdSendAliveBulkMsgTask>(), service,
                                                        aliveBulkMsg);
}

BfdSendAliveBulkMsgTask::BfdSendAliveBulkMsgTask(VelmSdkRpcService* service,
                                                 pb::watch_sbfd_echo_session_status_msg* aliveBulkMsg)
   : Task(Pesko::schedulerRootPesko(), priority, "BfdSendAliveBulk"), service_(service), aliveBulkMsg_(aliveBulkMsg) {}

void BfdSendAliveBulkMsgTask::taskExecute() {
   if (!taskRun()) return;
   trace(className, 1, "send BfdSendAliveBulk");
   pb::watch_sbfd_echo_session_status_msg tmpBulkMsg;
   // By the swap this storage is what the next burst is gathered in.
   tmpBulkMsg.mutable_bulk()->Reserve(usualBurst);
   tmpBulkMsg.Swap(aliveBulkMsg_);
   Qor::assertThat(tmpBulkMsg.bulk_size() != 0, "tmpBulkMsg.bulk_size() != 0");
   tmpBulkMsg.add_bulk()->set_end_of_status_batch(true);
   service_->sendSbfdAliveUpdate(std::move(tmpBulkMsg));
}

}  // namespace VelmSdkRpc
