#pragma once

#include <cstddef>
#include <string>

#include "bench/Hosts.h"
#include "bench/Places.h"
#include "bench/Server.h"
#include "proto/velmsdk.grpc.pb.h"

/// The kinds of entries that benchmarks program. Each says how many keys there are, what the bulk method is, and what
/// requests set and delete the entry at a place. All of them name one nexthop group.
namespace VelmSdkRpc::Bench {

enum class Family { ipv4, ipv6 };

/// Host routes, with one tag.
struct IpRoutes {
   using Element = pb::ip_route_msg;
   static constexpr auto method = &pb::velmsdk_service::Stub::Asyncip_route_bulk;
   static constexpr std::size_t keys = hosts;

   Family family = Family::ipv4;

   char const* name() const { return "routes"; }
   Element add(Place place) const;
   Element removal(Place place) const;
};

/// Tunnels to host addresses.
struct NhgTunnels {
   using Element = pb::nexthop_group_tunnel_msg;
   static constexpr auto method = &pb::velmsdk_service::Stub::Asyncnexthop_group_tunnel_bulk;
   static constexpr std::size_t keys = hosts;

   char const* name() const { return "tunnels"; }
   Element add(Place place) const;
   Element removal(Place place) const;
};

/// Labels, all with the same forwarding choice.
struct MplsRoutes {
   enum class Form {
      group,    // forwarded as the group says
      nexthop,  // swapped for another label to a nexthop
      vrf,      // popped and looked up in a VRF
   };
   using Element = pb::mpls_route_msg;
   static constexpr auto method = &pb::velmsdk_service::Stub::Asyncmpls_route_bulk;
   static constexpr Place reserved = 16;  // the lowest labels, which have a meaning of their own
   static constexpr std::size_t keys = (std::size_t{1} << 20U) - reserved;

   Form form = Form::group;

   char const* name() const;
   Element add(Place place) const;
   Element removal(Place place) const;
};

/// Opens the client's session, or opens it anew; without a name it uses no policy map. Throws std::runtime_error on
/// failure.
pb::rpc_server_init_status_msg initSession(Server& agent, std::string const& policyMap = {});
/// Opens it and makes the nexthop group of all entries. Throws std::runtime_error on failure.
void openSession(Server& agent);

}  // namespace VelmSdkRpc::Bench
