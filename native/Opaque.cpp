#include "native/Opaque.h"

#include <utility>

#include "native/Programmer.h"
#include "platform/velm/agent.h"
#include "rpc/ProcessTrace.h"

// The notes are kept as statuses of the agent because the switch keeps those already: across restarts, in its state
// folder, readable by `show agent`. A store of our own would have to do all of that once more.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "OpaqueProgrammer";

}  // namespace

OpaqueProgrammer::OpaqueProgrammer(ClientInit const& clientInit, velm::agent_mgr* agentMgr)
   : clientInit_(clientInit), agentMgr_(agentMgr) {}

void OpaqueProgrammer::processOpaqueStateSetRequest(pb::rpc_server_state_config_msg const& request,
                                                    pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& /*error*/) {
      velm::sdk_scoped_lock const lock;
      trace(className, 1, "Opaque set for {} key/value pairs and {} deletes", request.set_size(),
            request.delete__size());
      for (auto const& pair : request.set()) {
         trace(className, 1, "Opaque set key='{}' value='{}'", pair.key(), pair.value());
         agentMgr_->status_set(pair.key(), pair.value());
      }
      for (auto const& pair : request.delete_()) {
         trace(className, 1, "Opaque del key='{}'", pair.key());
         agentMgr_->status_del(pair.key());
      }
      return pb::rpc_status_msg::STATUS_SUCCESS;
   });
}

void OpaqueProgrammer::processOpaqueStateGetRequest(pb::rpc_server_state_status_msg const& request,
                                                    pb::rpc_server_state_status_msg& answer) {
   try {
      velm::sdk_scoped_lock const lock;
      trace(className, 1, "Opaque get for {} keys", request.value_size());
      for (auto const& wanted : request.value()) {
         auto value = agentMgr_->status(wanted.key());
         trace(className, 1, "Opaque get key='{}' value='{}'", wanted.key(), value);
         auto& pair = *answer.add_value();
         pair.set_key(wanted.key());
         pair.set_value(std::move(value));
      }
   } catch (velm::error const& e) {
      traceError(className, exceptionText(request, e));  // and the answer goes out short
   }
}

}  // namespace VelmSdkRpc
