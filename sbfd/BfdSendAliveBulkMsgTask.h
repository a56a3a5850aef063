#pragma once

#include <memory>

#include "platform/pesko/Task.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// Sends the status changes that were gathered since its last run, as one batch with an end marker. Ask for a run only
/// behind a change: one with nothing to send ends the process. Main loop.
class BfdSendAliveBulkMsgTask : public Pesko::Task {
 public:
   /// The two are the caller's.
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
