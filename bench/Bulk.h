#pragma once

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::Bench {

/// The elements of a bulk request.
inline auto& elementsOf(pb::ip_route_bulk_msg& bulk) { return *bulk.mutable_ip_route(); }
inline auto const& elementsOf(pb::ip_route_bulk_msg const& bulk) { return bulk.ip_route(); }
inline auto& elementsOf(pb::mpls_route_bulk_msg& bulk) { return *bulk.mutable_mpls_route(); }
inline auto const& elementsOf(pb::mpls_route_bulk_msg const& bulk) { return bulk.mpls_route(); }
inline auto& elementsOf(pb::nexthop_group_tunnel_bulk_msg& bulk) { return *bulk.mutable_nexthop_group_tunnel(); }
inline auto const& elementsOf(pb::nexthop_group_tunnel_bulk_msg const& bulk) { return bulk.nexthop_group_tunnel(); }
inline auto& elementsOf(pb::cbf_nexthop_group_redirect_bulk_msg& bulk) {
   return *bulk.mutable_cbf_nexthop_group_redirect();
}
inline auto const& elementsOf(pb::cbf_nexthop_group_redirect_bulk_msg const& bulk) {
   return bulk.cbf_nexthop_group_redirect();
}
inline auto& elementsOf(pb::sbfd_echo_session_bulk_msg& bulk) { return *bulk.mutable_sbfd_echo_session(); }
inline auto const& elementsOf(pb::sbfd_echo_session_bulk_msg const& bulk) { return bulk.sbfd_echo_session(); }
// Of every mirror service.
template <class Bulk>
auto elementsOf(Bulk& bulk) -> decltype((*bulk.mutable_requests())) {
   return *bulk.mutable_requests();
}
template <class Bulk>
auto elementsOf(Bulk const& bulk) -> decltype((bulk.requests())) {
   return bulk.requests();
}

}  // namespace VelmSdkRpc::Bench
