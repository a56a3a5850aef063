#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/Places.h"
#include "bench/Requests.h"
#include "bench/Server.h"
#include "proto/remote/agent.pb.h"
#include "proto/remote/ip_route.pb.h"
#include "proto/velmsdk.pb.h"

/// The kinds of entries that benchmarks program and read.
namespace VelmSdkRpc::Bench {

/// Elements of a bulk request, unless it is said otherwise.
inline constexpr std::size_t bulkSize = 1000;
/// Of all routes of a session.
inline constexpr std::uint32_t routeTag = 7;

/// How entries of one kind are added and deleted in bulk. All of them name one nexthop group.
struct Kind {
   using InBulk = std::function<Requests(PlaceList const& places, std::size_t elements)>;

   std::size_t keys;  // how many different ones an entry can have
   InBulk add;
   InBulk remove;
   std::vector<std::string> world{};  // commands of the switch that come first
   std::string policyMap{};           // of the client's session; empty for none
   std::string removal{};             // the switch's operation that ends a removal, if it is not over with its answer
};

enum class Family { ipv4, ipv6 };

/// Host routes with one tag; tunnels to host addresses; labels that the group forwards.
Kind ipRoutes(Family family = Family::ipv4);
Kind tunnels();
Kind labels();
/// sBFD echo sessions on one interface, whose state they follow, on a switch that reports nothing of them by itself. A
/// label tells them apart.
Kind sessions();
/// Redirects of four DSCP values of each family, each between two groups of its own: the switch does not ask whether
/// there are such. The agent deletes them within a second after its answer.
Kind redirects();
/// By the mirrors: host routes of the default VRF, with one tag and without vias; statuses with names of 16 bytes.
Kind mirrorRoutes();
Kind mirrorStatuses();

/// Single calls: to set a route by the native service and by the mirror, and to read one by the mirror.
Requests routeCalls(PlaceList const& places);
Requests mirrorRouteCalls(PlaceList const& places);
Requests mirrorRouteReads(PlaceList const& places);

/// The messages that the mirrors' streams bring for the entry at a place, in the order of the table.
velm::remote::IpRoutesResponse streamedRoute(Place place);
velm::remote::AgentStatusesResponse streamedStatus(Place place);

/// The sessions as the updates and the switch's commands name them.
Place placeOf(pb::sbfd_echo_session_key_msg const& key);
std::string simulateStatus(Place place, int status);
std::string simulateRtt(Place place);
std::string simulateLink(bool up);

/// Opens the client's session, or opens it anew, with the policy map that is named. Throws std::runtime_error.
pb::rpc_server_init_status_msg initSession(Server const& agent, std::string const& policyMap = {});
/// Makes a fresh agent ready for entries of the kind, with the nexthop group that they name. Throws std::runtime_error.
void prepare(Server const& agent, Kind const& kind);
/// Adds and deletes entries, outside the time. Throw std::runtime_error.
void add(Server const& agent, Kind const& kind, PlaceList const& places, std::size_t elements = bulkSize);
void remove(Server const& agent, Kind const& kind, PlaceList const& places, std::size_t elements = bulkSize);

}  // namespace VelmSdkRpc::Bench
