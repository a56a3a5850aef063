#pragma once

#include "velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Answers for the client's opaque pairs, which this agent does not store: refused, with a text that says so.
class OpaqueProgrammer {
 public:
   explicit OpaqueProgrammer(ClientInit const& clientInit);

   void processOpaqueStateSetRequest(pb::rpc_server_state_config_msg const& request, pb::rpc_status_msg& status);
   /// A pair with an empty value for every key asked for: nothing is stored.
   void processOpaqueStateGetRequest(pb::rpc_server_state_status_msg const& request,
                                     pb::rpc_server_state_status_msg& answer);

 private:
   ClientInit const& clientInit_;
};

}  // namespace VelmSdkRpc
