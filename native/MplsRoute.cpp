#include "native/MplsRoute.h"

#include <fmt/ostream.h>

#include <cstdint>
#include <string>
#include <vector>

#include "convert/Utils.h"
#include "native/Programmer.h"
#include "platform/qor/Assert.h"
#include "platform/velm/format.h"
#include "platform/velm/mpls_route.h"
#include "rpc/ProcessTrace.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "MplsRouteProgrammer";

velm::mpls_route_key_t keyOf(pb::mpls_route_msg const& request) { return {velm::mpls_label_t(request.label()), 0}; }

velm::mpls_action_t actionOf(pb::mpls_route_msg_forward_nexthop_group_msg const& forward) {
   switch (forward.mpls_operation()) {
      case pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_POP: return velm::mpls_action_t::pop;
      case pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_FORWARD: return velm::mpls_action_t::forward;
      default: Qor::assertionFailed("false");
   }
}

// Gives the via what the action asks for. Returns why that cannot be done, and an empty text if it can. A single
// nexthop takes one label at most: stacks are for nexthop groups.
std::string setAction(velm::mpls_route_via_t& via, velm::mpls_action_t action,
                      google::protobuf::RepeatedField<std::uint32_t> const& labels) {
   switch (action) {
      case velm::mpls_action_t::pop:
         if (!labels.empty()) return fmt::format("label count {} != 0", labels.size());
         via.payload_type_is(velm::mpls_payload_type_t::mpls);
         break;
      case velm::mpls_action_t::push:
      case velm::mpls_action_t::swap:
         if (labels.size() != 1) return fmt::format("label count {} != 1", labels.size());
         via.pushswap_label_is(velm::mpls_label_t(labels[0]));
         break;
      default: return "not supported";
   }
   via.label_action_is(action);
   return {};
}

}  // namespace

MplsRouteProgrammer::MplsRouteProgrammer(ClientInit const& clientInit, velm::mpls_route_mgr* mplsRouteMgr,
                                         velm::mpls_vrf_label_mgr* mplsVrfLabelMgr)
   : clientInit_(clientInit), mplsRouteMgr_(mplsRouteMgr), mplsVrfLabelMgr_(mplsVrfLabelMgr) {}

void MplsRouteProgrammer::processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& error) {
      return request.request_delete() ? deleteLabel(request) : program(request, error);
   });
}

void MplsRouteProgrammer::processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   auto const announce = [&](auto const& group) {
      std::vector<velm::mpls_route_key_t> keys;
      std::vector<velm::mpls_label_t> labels;
      for (auto const& element : group) {
         if (element.label() > velm::mpls_label_t::max) continue;  // refused in its turn
         keys.push_back(keyOf(element));
         labels.emplace_back(element.label());
      }
      mplsRouteMgr_->prefetch(keys);
      mplsVrfLabelMgr_->prefetch(labels);
   };
   answerEach(request.mpls_route(), status, announce,
              [&](auto const& element, auto& answered) { processMPLSRouteRequest(element, answered); });
}

std::uint32_t MplsRouteProgrammer::program(pb::mpls_route_msg const& request, std::string& error) {
   auto const choice = request.forwarding_nexthop_case();
   switch (choice) {
      case pb::mpls_route_msg::FORWARDING_NEXTHOP_NOT_SET:
         return refuse(className, error,
                       fmt::format("Error: MPLS label {} must specify nexthop_msg, nexthop_group_msg or popAndForward",
                                   request.label()));
      case pb::mpls_route_msg::kNexthop: return processMplsRouteWithNexthop(request, error);
      case pb::mpls_route_msg::kForwardNexthopGroup: return processMplsRouteWithNexthopGroup(request);
      case pb::mpls_route_msg::kPopAndForwardVrfName: return processMplsRoutePopAndForward(request);
      default:
         return refuse(className, error,
                       fmt::format("Error: MPLS label {} unexpected forwarding_nexthop {}", request.label(),
                                   static_cast<int>(choice)));
   }
}

std::uint32_t MplsRouteProgrammer::processMplsRouteWithNexthop(pb::mpls_route_msg const& request, std::string& error) {
   auto const& nexthop = request.nexthop();
   velm::mpls_route_via_t via(keyOf(request));
   via.intf_is(velm::intf_id_t(nexthop.nexthop_interface()));
   via.hop_is(ipAddressToIpAddr(nexthop.nexthop_ip()));
   // All is checked before the lock is taken and the switch is touched: what is refused leaves the label as it was.
   auto const action = mplsOpToMplsAction(nexthop.mpls_operation());
   auto const& labels = nexthop.labels();
   if (auto const why = setAction(via, action, labels); !why.empty()) {
      return refuse(className, error,
                    fmt::format("Error: MPLS label {} action {} {}", request.label(), fmt::streamed(action), why));
   }
   velm::sdk_scoped_lock const lock;
   trace(className, 1, "MPLS label {} create route nexthop_msg {} {} {} {}", request.label(),
         nexthop.nexthop_interface(), via.hop(), fmt::streamed(action), labels.empty() ? 0 : labels[0]);
   replaceRoute(request, via);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::processMplsRouteWithNexthopGroup(pb::mpls_route_msg const& request) {
   auto const& forward = request.forward_nexthop_group();
   // The key before the action: a label out of range is refused, where an unknown operation would end the process.
   auto const key = keyOf(request);
   velm::mpls_route_via_t via(key, actionOf(forward));
   via.nexthop_group_is(forward.nexthop_group());
   velm::sdk_scoped_lock const lock;
   trace(className, 1, "MPLS label {} create route nexthop-group {} mpls_operation_enum {}", request.label(),
         forward.nexthop_group(), fmt::streamed(via.label_action()));
   replaceRoute(request, via);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::processMplsRoutePopAndForward(pb::mpls_route_msg const& request) {
   velm::sdk_scoped_lock const lock;
   trace(className, 2, "MPLS label {} create popAndLookup", request.label());
   // The new form first: the label is never without one.
   mplsVrfLabelMgr_->mpls_vrf_label_set(
      velm::mpls_vrf_label_t(velm::mpls_label_t(request.label()), request.pop_and_forward_vrf_name()));
   deleteMplsRoute(request);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

// Deleted and set anew, for a via that is told by all its attributes would stay beside a new one. The dataplane carries
// both out in order. The label's other form goes last: a label that changes its form is never without one.
void MplsRouteProgrammer::replaceRoute(pb::mpls_route_msg const& request, velm::mpls_route_via_t const& via) {
   auto const& key = via.route_key();
   if (mplsRouteMgr_->exists(key)) mplsRouteMgr_->mpls_route_del(key);
   mplsRouteMgr_->mpls_route_set(velm::mpls_route_t(key));
   mplsRouteMgr_->mpls_route_via_set(via);
   deleteMplsVrfLabel(request);
}

std::uint32_t MplsRouteProgrammer::deleteLabel(pb::mpls_route_msg const& request) {
   velm::sdk_scoped_lock const lock;
   auto const result = deleteMplsRoute(request);
   return result == pb::rpc_status_msg::STATUS_NOT_FOUND ? deleteMplsVrfLabel(request) : result;
}

std::uint32_t MplsRouteProgrammer::deleteMplsRoute(pb::mpls_route_msg const& request) {
   auto const key = keyOf(request);
   if (!mplsRouteMgr_->exists(key)) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   trace(className, 1, "MPLS label {} delete route", request.label());
   mplsRouteMgr_->mpls_route_del(key);
   // A switch whose vias go with their route, as the embedded one's do, has none here.
   if (velm::mpls_route_via_t const via(key); mplsRouteMgr_->exists(via)) {
      mplsRouteMgr_->mpls_route_via_del(via);
   } else {
      trace(className, 1, "MPLS label {} no via found on delete", request.label());
   }
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::deleteMplsVrfLabel(pb::mpls_route_msg const& request) {
   velm::mpls_label_t const label(request.label());
   if (mplsVrfLabelMgr_->mpls_vrf_label(label).vrf_name().empty()) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   trace(className, 2, "MPLS label {} delete popAndLookup", request.label());
   mplsVrfLabelMgr_->mpls_vrf_label_del(label);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

}  // namespace VelmSdkRpc
