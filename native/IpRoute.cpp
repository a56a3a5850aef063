#include "native/IpRoute.h"

#include <fmt/format.h>

#include "native/Programmer.h"
#include "platform/velm/format.h"
#include "platform/velm/ip_route.h"
#include "rpc/ProcessTrace.h"

// A route and its via are set under one hold of the SDK lock, since a route without a way would drop its packets. The
// key of a bulk's element is converted once, ahead of its turn, for the hint to the switch and for the call.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "IpRouteProgrammer";

}  // namespace

IpRouteProgrammer::IpRouteProgrammer(ClientInit const& clientInit, velm::ip_route_mgr* ipRouteMgr)
   : clientInit_(clientInit), ipRouteMgr_(ipRouteMgr), prefetcher_(dynamic_cast<decltype(prefetcher_)>(ipRouteMgr)) {}

void IpRouteProgrammer::ipRouteTagIs(std::uint32_t tag) {
   ipRouteTag_ = tag;
   if (tag != 0) ipRouteMgr_->tag_is(tag);
}

void IpRouteProgrammer::processIpRouteRequest(pb::ip_route_msg const& request, pb::rpc_status_msg& status) {
   processIpRouteRequest(request, nullptr, status);
}

void IpRouteProgrammer::processIpRouteBulkRequest(pb::ip_route_bulk_msg const& request,
                                                  pb::rpc_status_bulk_msg& status) {
   auto const hint = [&](std::span<velm::ip_route_key_t const> keys) {
      if (prefetcher_ != nullptr) prefetcher_->prefetch(keys, {});
   };
   answerEach(
      request.ip_route(), status, keyOfPrefix<velm::ip_route_key_t, pb::ip_route_msg>, hint,
      [&](auto const& element, auto const* key, auto& answered) { processIpRouteRequest(element, key, answered); });
}

void IpRouteProgrammer::processIpRouteRequest(pb::ip_route_msg const& request, velm::ip_route_key_t const* known,
                                              pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& error) {
      auto const key = keyInTurn(request, known);
      return request.nexthop_group().empty() ? delRibRoute(key) : addRibRoute(request, key, error);
   });
}

std::uint32_t IpRouteProgrammer::addRibRoute(pb::ip_route_msg const& request, velm::ip_route_key_t const& key,
                                             std::string& error) {
   auto const& prefix = key.prefix();
   if (ipRouteTag_ != 0 && request.tag() != ipRouteTag_) {
      return refuse(className, error,
                    fmt::format("Error: Create {} route with tag {} != rpc_server_init::ip_route_tag {}", prefix,
                                request.tag(), ipRouteTag_));
   }
   trace(className, 1, "create {} route", prefix);
   velm::ip_route_t route(key);
   route.tag_is(request.tag());
   velm::ip_route_via_t via(key);
   // A request without a group is a deletion and does not come here; the check is for callers to come.
   if (request.forwarding_nexthop_case() == pb::ip_route_msg::FORWARDING_NEXTHOP_NOT_SET) {
      return refuse(className, error, fmt::format("Error: ip route {} must specify Forwarding nexthop", prefix));
   }
   via.nexthop_group_is(request.nexthop_group());
   velm::sdk_scoped_lock const lock;
   ipRouteMgr_->ip_route_set(route, velm::ip_route_action_t::nexthop_group);
   ipRouteMgr_->ip_route_via_set(via);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t IpRouteProgrammer::delRibRoute(velm::ip_route_key_t const& key) {
   trace(className, 1, "delete {} route", key.prefix());
   // Without the lock: requests come one at a time, and deleting a route that another agent took meanwhile is no error.
   if (!ipRouteMgr_->ip_route_exists(key)) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   velm::sdk_scoped_lock const lock;
   // The via first, so that no switch is left with a via of no route.
   ipRouteMgr_->ip_route_via_del(velm::ip_route_via_t(key));
   ipRouteMgr_->ip_route_del(key);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

}  // namespace VelmSdkRpc
