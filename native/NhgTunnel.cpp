#include "native/NhgTunnel.h"

#include "native/Programmer.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "NhgTunnelProgrammer";
constexpr auto what = "nexthop-group tunnels";

}  // namespace

NhgTunnelProgrammer::NhgTunnelProgrammer(ClientInit const& clientInit) : clientInit_(clientInit) {}

void NhgTunnelProgrammer::processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request,
                                                  pb::rpc_status_msg& status) {
   answerUnbuilt(clientInit_, className, request, status, what);
}

void NhgTunnelProgrammer::processNhgTunnelBulkRequest(pb::nexthop_group_tunnel_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   answerEach(request.nexthop_group_tunnel(), status,
              [&](auto const& element, auto& answered) { processNhgTunnelRequest(element, answered); });
}

}  // namespace VelmSdkRpc
