#include "native/MplsRoute.h"

#include "native/Programmer.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "MplsRouteProgrammer";
constexpr auto what = "MPLS routes";

}  // namespace

MplsRouteProgrammer::MplsRouteProgrammer(ClientInit const& clientInit) : clientInit_(clientInit) {}

void MplsRouteProgrammer::processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status) {
   answerUnbuilt(clientInit_, className, request, status, what);
}

void MplsRouteProgrammer::processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   answerEach(request.mpls_route(), status,
              [&](auto const& element, auto& answered) { processMPLSRouteRequest(element, answered); });
}

}  // namespace VelmSdkRpc
