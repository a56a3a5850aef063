#pragma once

#include <string>
#include <variant>
#include <vector>

#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc {

/// One element that a controller programs through the native service.
using Element =
   std::variant<pb::nexthop_group_msg, pb::nexthop_group_tunnel_msg, pb::ip_route_msg, pb::mpls_route_msg,
                pb::sbfd_echo_session_msg, pb::cbf_nexthop_group_redirect_msg, pb::rpc_server_state_config_msg>;
/// The elements of one call, all of one kind.
using Batch = std::vector<Element>;

inline std::string textOf(Element const& element) {
   return std::visit([](auto const& request) { return request.GetTypeName() + " " + request.ShortDebugString(); },
                     element);
}

/// How the elements of a kind are sent: singly, and as elements of a bulk message.
template <auto single, auto bulkCall, auto addElement>
struct SentBy {
   static constexpr auto one = single;
   static constexpr auto bulk = bulkCall;
   static constexpr auto add = addElement;
};

template <class Request>
struct NativeKind;
using NativeStub = pb::velmsdk_service::Stub;
template <>
struct NativeKind<pb::nexthop_group_msg> : SentBy<&NativeStub::nexthop_group, &NativeStub::nexthop_group_bulk,
                                                  &pb::nexthop_group_bulk_msg::add_nexthop_group> {};
template <>
struct NativeKind<pb::nexthop_group_tunnel_msg>
   : SentBy<&NativeStub::nexthop_group_tunnel, &NativeStub::nexthop_group_tunnel_bulk,
            &pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel> {};
template <>
struct NativeKind<pb::ip_route_msg>
   : SentBy<&NativeStub::ip_route, &NativeStub::ip_route_bulk, &pb::ip_route_bulk_msg::add_ip_route> {};
template <>
struct NativeKind<pb::mpls_route_msg>
   : SentBy<&NativeStub::mpls_route, &NativeStub::mpls_route_bulk, &pb::mpls_route_bulk_msg::add_mpls_route> {};
template <>
struct NativeKind<pb::sbfd_echo_session_msg>
   : SentBy<&NativeStub::sbfd_echo_session, &NativeStub::sbfd_echo_session_bulk,
            &pb::sbfd_echo_session_bulk_msg::add_sbfd_echo_session> {};
template <>
struct NativeKind<pb::cbf_nexthop_group_redirect_msg>
   : SentBy<&NativeStub::cbf_nexthop_group_redirect, &NativeStub::cbf_nexthop_group_redirect_bulk,
            &pb::cbf_nexthop_group_redirect_bulk_msg::add_cbf_nexthop_group_redirect> {};
/// Pairs have no bulk.
template <>
struct NativeKind<pb::rpc_server_state_config_msg> {
   static constexpr auto one = &NativeStub::rpc_server_state;
};
template <class Request>
concept HasBulk = requires {
   NativeKind<Request>::bulk;
};

template <class Request, class Bulk>
Bulk bulkOf(Batch const& batch, Request* (Bulk::*add)()) {
   Bulk bulk;
   for (auto const& element : batch) *(bulk.*add)() = std::get<Request>(element);
   return bulk;
}

}  // namespace VelmSdkRpc
