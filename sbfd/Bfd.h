#pragma once

#include "velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Answers for sBFD echo sessions, which this agent does not program: refused, with a text that says so.
class BfdProgrammer {
 public:
   explicit BfdProgrammer(ClientInit const& clientInit);

   void processSbfdEchoSessionRequest(pb::sbfd_echo_session_msg const& request, pb::rpc_status_msg& status);
   void processSbfdEchoSessionBulkRequest(pb::sbfd_echo_session_bulk_msg const& request,
                                          pb::rpc_status_bulk_msg& status);
   /// A resync has nothing to purge while no session can exist.
   void resyncStart() {}
   void resyncEnd() {}

 private:
   ClientInit const& clientInit_;
};

}  // namespace VelmSdkRpc
