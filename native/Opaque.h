#pragma once

#include "proto/velmsdk.pb.h"

namespace velm {
class agent_mgr;
}

namespace VelmSdkRpc {

class ClientInit;

/// The client's own key/value pairs, which nobody here interprets: a place where it finds its notes again after a
/// restart. They are kept in the switch's table of agent statuses under the client's keys as they are: one namespace
/// with the statuses, the agent's own among them. Server thread only.
class OpaqueProgrammer {
 public:
   /// The manager stays the caller's.
   OpaqueProgrammer(ClientInit const& clientInit, velm::agent_mgr* agentMgr);

   /// Stores the pairs, then removes the keys, so that a key which is in both goes; all under one hold of the SDK lock.
   /// Removing an absent key is no error. A failure ends it, stands in the status, and leaves what was done before.
   void processOpaqueStateSetRequest(pb::rpc_server_state_config_msg const& request, pb::rpc_status_msg& status);
   /// Gives a pair for every key asked for, in that order; an absent key has an empty value. Works before
   /// rpc_server_init. The answer has no place for a failure, which is traced and leaves the pairs read so far.
   void processOpaqueStateGetRequest(pb::rpc_server_state_status_msg const& request,
                                     pb::rpc_server_state_status_msg& answer);

 private:
   ClientInit const& clientInit_;
   velm::agent_mgr* agentMgr_;
};

}  // namespace VelmSdkRpc
