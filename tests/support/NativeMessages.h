#pragma once

#include <cstdint>
#include <string>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

pb::ip_prefix_msg prefixMsg(std::string const& text);
pb::ip_route_msg routeMsg(std::string const& prefix, std::string const& group, std::uint32_t tag = 0);
/// A group with one nexthop of the interface, `count` entries wide.
pb::nexthop_group_msg groupMsg(std::string const& name, std::string const& intf = "Ethernet1", std::uint32_t count = 1);
pb::nexthop_group_tunnel_msg tunnelMsg(std::string const& prefix, std::string const& group, std::uint32_t metric = 0);

/// A label that is swapped for another one, one that is forwarded to a group, one that is looked up in a VRF, and the
/// deletion of one.
pb::mpls_route_msg labelToNexthop(std::uint32_t label, std::uint32_t swap);
pb::mpls_route_msg labelToGroup(std::uint32_t label, std::string const& group);
pb::mpls_route_msg labelToVrf(std::uint32_t label, std::string const& vrf);
pb::mpls_route_msg labelDeletion(std::uint32_t label);

/// A session over the interface to 10.0.0.1, told apart by its label.
pb::sbfd_echo_session_msg sessionMsg(std::string const& intf, std::uint32_t label, bool track = false);

template <class Request>
Request deletionOf(Request request) {
   request.set_request_delete(true);
   return request;
}

}  // namespace VelmSdkRpc
