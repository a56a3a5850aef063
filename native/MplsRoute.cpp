#include "native/MplsRoute.h"

#include <fmt/ostream.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "convert/Utils.h"
#include "native/Programmer.h"
#include "platform/qor/Assert.h"
#include "platform/velm/format.h"
#include "platform/velm/mpls_route.h"
#include "rpc/ProcessTrace.h"

// A label has three forms in two managers, and no switch has an operation that changes from one to another. So the
// order of calls keeps the label served: the new form is set before the old one goes, all under one hold of the SDK
// lock. Checks of the request come before the first call.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "MplsRouteProgrammer";

velm::mpls_route_key_t keyOf(pb::mpls_route_msg const& request) { return {velm::mpls_label_t(request.label()), 0}; }
velm::mpls_label_t labelOf(velm::mpls_route_key_t const& key) { return key.labels().front(); }

// The key that is known, or else the request's own, which is converted now and refused now if it is out of range.
velm::mpls_route_key_t const& keyInTurn(pb::mpls_route_msg const& request, velm::mpls_route_key_t const* known,
                                        std::optional<velm::mpls_route_key_t>& converted) {
   return known != nullptr ? *known : converted.emplace(keyOf(request));
}

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
   : clientInit_(clientInit),
     mplsRouteMgr_(mplsRouteMgr),
     mplsVrfLabelMgr_(mplsVrfLabelMgr),
     routePrefetcher_(dynamic_cast<decltype(routePrefetcher_)>(mplsRouteMgr)),
     vrfLabelPrefetcher_(dynamic_cast<decltype(vrfLabelPrefetcher_)>(mplsVrfLabelMgr)) {}

void MplsRouteProgrammer::processMPLSRouteRequest(pb::mpls_route_msg const& request, pb::rpc_status_msg& status) {
   processMPLSRouteRequest(request, nullptr, status);
}

void MplsRouteProgrammer::processMPLSRouteBulkRequest(pb::mpls_route_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   auto const convert = [](pb::mpls_route_msg const& element) {
      return element.label() > velm::mpls_label_t::max ? std::nullopt : std::optional(keyOf(element));
   };
   auto const hint = [&](std::span<Key const> keys) {
      if (routePrefetcher_ != nullptr) routePrefetcher_->prefetch(keys);
      if (vrfLabelPrefetcher_ == nullptr) return;
      std::vector<velm::mpls_label_t> labels;
      for (auto const& key : keys) labels.push_back(labelOf(key));
      vrfLabelPrefetcher_->prefetch(labels);
   };
   answerEach(request.mpls_route(), status, convert, hint, [&](auto const& element, auto const* key, auto& answered) {
      processMPLSRouteRequest(element, key, answered);
   });
}

void MplsRouteProgrammer::processMPLSRouteRequest(pb::mpls_route_msg const& request, Key const* known,
                                                  pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& error) {
      std::optional<Key> converted;
      return request.request_delete() ? deleteLabel(keyInTurn(request, known, converted))
                                      : program(request, known, error);
   });
}

std::uint32_t MplsRouteProgrammer::program(pb::mpls_route_msg const& request, Key const* known, std::string& error) {
   auto const choice = request.forwarding_nexthop_case();
   if (choice == pb::mpls_route_msg::FORWARDING_NEXTHOP_NOT_SET) {
      return refuse(className, error,
                    fmt::format("Error: MPLS label {} must specify nexthop_msg, nexthop_group_msg or popAndForward",
                                request.label()));
   }
   std::optional<Key> converted;
   auto const& key = keyInTurn(request, known, converted);
   switch (choice) {
      case pb::mpls_route_msg::kNexthop: return processMplsRouteWithNexthop(request, key, error);
      case pb::mpls_route_msg::kForwardNexthopGroup: return processMplsRouteWithNexthopGroup(request, key);
      case pb::mpls_route_msg::kPopAndForwardVrfName: return processMplsRoutePopAndForward(request, key);
      default:
         return refuse(className, error,
                       fmt::format("Error: MPLS label {} unexpected forwarding_nexthop {}", request.label(),
                                   static_cast<int>(choice)));
   }
}

std::uint32_t MplsRouteProgrammer::processMplsRouteWithNexthop(pb::mpls_route_msg const& request, Key const& key,
                                                               std::string& error) {
   auto const& nexthop = request.nexthop();
   velm::mpls_route_via_t via(key);
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
   replaceRoute(via);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::processMplsRouteWithNexthopGroup(pb::mpls_route_msg const& request, Key const& key) {
   auto const& forward = request.forward_nexthop_group();
   velm::mpls_route_via_t via(key, actionOf(forward));
   via.nexthop_group_is(forward.nexthop_group());
   velm::sdk_scoped_lock const lock;
   trace(className, 1, "MPLS label {} create route nexthop-group {} mpls_operation_enum {}", request.label(),
         forward.nexthop_group(), fmt::streamed(via.label_action()));
   replaceRoute(via);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::processMplsRoutePopAndForward(pb::mpls_route_msg const& request, Key const& key) {
   velm::sdk_scoped_lock const lock;
   trace(className, 2, "MPLS label {} create popAndLookup", request.label());
   // The new form first: the label is never without one.
   mplsVrfLabelMgr_->mpls_vrf_label_set(velm::mpls_vrf_label_t(labelOf(key), request.pop_and_forward_vrf_name()));
   deleteMplsRoute(key);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

// Deleted and set anew, for a via that is told by all its attributes would stay beside a new one. The dataplane carries
// both out in order. The label's other form goes last: a label that changes its form is never without one.
void MplsRouteProgrammer::replaceRoute(velm::mpls_route_via_t const& via) {
   auto const& key = via.route_key();
   if (mplsRouteMgr_->exists(key)) mplsRouteMgr_->mpls_route_del(key);
   mplsRouteMgr_->mpls_route_set(velm::mpls_route_t(key));
   mplsRouteMgr_->mpls_route_via_set(via);
   deleteMplsVrfLabel(key);
}

std::uint32_t MplsRouteProgrammer::deleteLabel(Key const& key) {
   velm::sdk_scoped_lock const lock;
   auto const result = deleteMplsRoute(key);
   return result == pb::rpc_status_msg::STATUS_NOT_FOUND ? deleteMplsVrfLabel(key) : result;
}

std::uint32_t MplsRouteProgrammer::deleteMplsRoute(Key const& key) {
   if (!mplsRouteMgr_->exists(key)) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   auto const label = labelOf(key).label();
   trace(className, 1, "MPLS label {} delete route", label);
   mplsRouteMgr_->mpls_route_del(key);
   // A switch whose vias go with their route, as the embedded one's do, has none here.
   if (velm::mpls_route_via_t const via(key); mplsRouteMgr_->exists(via)) {
      mplsRouteMgr_->mpls_route_via_del(via);
   } else {
      trace(className, 1, "MPLS label {} no via found on delete", label);
   }
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t MplsRouteProgrammer::deleteMplsVrfLabel(Key const& key) {
   auto const label = labelOf(key);
   if (mplsVrfLabelMgr_->mpls_vrf_label(label).vrf_name().empty()) return pb::rpc_status_msg::STATUS_NOT_FOUND;
   trace(className, 2, "MPLS label {} delete popAndLookup", label.label());
   mplsVrfLabelMgr_->mpls_vrf_label_del(label);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

}  // namespace VelmSdkRpc
