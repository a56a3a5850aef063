#include "native/Opaque.h"

#include "native/Programmer.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "OpaqueProgrammer";
constexpr auto what = "opaque pairs";

}  // namespace

OpaqueProgrammer::OpaqueProgrammer(ClientInit const& clientInit) : clientInit_(clientInit) {}

void OpaqueProgrammer::processOpaqueStateSetRequest(pb::rpc_server_state_config_msg const& request,
                                                    pb::rpc_status_msg& status) {
   answerUnbuilt(clientInit_, className, request, status, what);
}

void OpaqueProgrammer::processOpaqueStateGetRequest(pb::rpc_server_state_status_msg const& request,
                                                    pb::rpc_server_state_status_msg& answer) {
   for (auto const& wanted : request.value()) answer.add_value()->set_key(wanted.key());
}

}  // namespace VelmSdkRpc
