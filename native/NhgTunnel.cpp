#include "native/NhgTunnel.h"

#include "native/Programmer.h"
#include "platform/velm/format.h"
#include "platform/velm/nexthop_group_tunnel.h"
#include "rpc/ProcessTrace.h"

// A tunnel is one row of one manager, and a set replaces it whole. The wire has no flag for a deletion: a request
// without a group is one, as with IP routes.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "NhgTunnelProgrammer";

}  // namespace

NhgTunnelProgrammer::NhgTunnelProgrammer(ClientInit const& clientInit,
                                         velm::nexthop_group_tunnel_mgr* nexthopGroupTunnelMgr)
   : clientInit_(clientInit),
     nexthopGroupTunnelMgr_(nexthopGroupTunnelMgr),
     prefetcher_(dynamic_cast<decltype(prefetcher_)>(nexthopGroupTunnelMgr)) {}

void NhgTunnelProgrammer::processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request,
                                                  pb::rpc_status_msg& status) {
   processNhgTunnelRequest(request, nullptr, status);
}

void NhgTunnelProgrammer::processNhgTunnelBulkRequest(pb::nexthop_group_tunnel_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   auto const hint = [&](std::span<velm::ip_prefix_t const> endpoints) {
      if (prefetcher_ != nullptr) prefetcher_->prefetch(endpoints);
   };
   answerEach(request.nexthop_group_tunnel(), status, keyOfPrefix<velm::ip_prefix_t, pb::nexthop_group_tunnel_msg>,
              hint, [&](auto const& element, auto const* endpoint, auto& answered) {
                 processNhgTunnelRequest(element, endpoint, answered);
              });
}

void NhgTunnelProgrammer::processNhgTunnelRequest(pb::nexthop_group_tunnel_msg const& request,
                                                  velm::ip_prefix_t const* known, pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& /*error*/) {
      auto const endpoint = keyInTurn(request, known);
      return request.nexthop_group().empty() ? delTunRibRoute(endpoint) : addTunRibRoute(request, endpoint);
   });
}

std::uint32_t NhgTunnelProgrammer::addTunRibRoute(pb::nexthop_group_tunnel_msg const& request,
                                                  velm::ip_prefix_t const& prefix) {
   trace(className, 1, "create {} tunnel", prefix);
   velm::nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(prefix);
   tunnel.nhg_name_is(request.nexthop_group());
   tunnel.igp_metric_is(request.igp_metric());
   velm::sdk_scoped_lock const lock;
   nexthopGroupTunnelMgr_->nexthop_group_tunnel_set(tunnel);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t NhgTunnelProgrammer::delTunRibRoute(velm::ip_prefix_t const& prefix) {
   trace(className, 1, "delete {} tunnel", prefix);
   // Without the lock: requests come one at a time, and deleting a tunnel that is gone meanwhile is no error.
   if (!nexthopGroupTunnelMgr_->exists(prefix)) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   velm::sdk_scoped_lock const lock;
   nexthopGroupTunnelMgr_->nexthop_group_tunnel_del(prefix);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

}  // namespace VelmSdkRpc
