#pragma once

#include <memory>

#include "platform/pesko/Task.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// Sends the status changes that were gathered since its last run, as one batch with an end marker. However many
/// changes one turn of the loop brings, clients get one message.
///
/// Ask for a run only after adding a change: a run with nothing to send ends the process. Main loop.
class BfdSendAliveBulkMsgTask : public Pesko::Task {
 public:
   /// The changes are gathered in `aliveBulkMsg`, which a run empties. Both stay the caller's and outlive the task.
   static std::shared_ptr<BfdSendAliveBulkMsgTask> make(VelmSdkRpcService* service,
                                                        pb::watch_sbfd_echo_session_status_msg* aliveBulkMsg);

   BfdSendAliveBulkMsgTask(VelmSdkRpcService* service, pb::watch_sbfd_echo_session_status_msg* aliveBulkMsg);

 protected:
   void taskExecute() override;

 private:
   VelmSdkRpcService* service_;
   pb::watch_sbfd_echo_session_status_msg* aliveBulkMsg_;
};

}  // namespace VelmSdkRpc
