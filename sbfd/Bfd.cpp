#include "sbfd/Bfd.h"

#include "native/Programmer.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "BfdProgrammer";
constexpr auto what = "sBFD echo sessions";

}  // namespace

BfdProgrammer::BfdProgrammer(ClientInit const& clientInit) : clientInit_(clientInit) {}

void BfdProgrammer::processSbfdEchoSessionRequest(pb::sbfd_echo_session_msg const& request,
                                                  pb::rpc_status_msg& status) {
   answerUnbuilt(clientInit_, className, request, status, what);
}

void BfdProgrammer::processSbfdEchoSessionBulkRequest(pb::sbfd_echo_session_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   answerEach(request.sbfd_echo_session(), status,
              [&](auto const& element, auto& answered) { processSbfdEchoSessionRequest(element, answered); });
}

}  // namespace VelmSdkRpc
