#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/Server.h"
#include "velmsdk.pb.h"

/// The routes of the benchmarks: host routes, one tag, one nexthop group. A table of N holds the prefixes 0 to N-1, and
/// between each two of them lies one fresh prefix that it does not hold.
namespace VelmSdkRpc::Bench {

enum class Family { ipv4, ipv6 };

/// Which prefixes a round adds.
enum class Order {
   ascending,  // fresh ones, neighbours, by rising address
   shuffled,   // fresh ones from all over the table
   repeated,   // ones that the table holds, from all over it, as after a client's restart
};
char const* nameOf(Order order);

using Adds = std::vector<pb::ip_route_msg>;

/// The routes of a table of that size, by rising address.
Adds tableOf(std::size_t routes, Family family = Family::ipv4);
/// `count` adds to a table of that size, at most its size; other ones in each round.
Adds addsOf(Order order, std::size_t routes, std::size_t count, std::size_t round);
/// The same routes as requests that delete them.
Adds deletionOf(Adds adds);
/// The routes in bulk requests of `size` elements; the last one may have fewer.
std::vector<pb::ip_route_bulk_msg> inBulk(Adds const& routes, std::size_t size);

/// Opens the client's session and makes the nexthop group of all routes. Throws std::runtime_error on failure.
void openSession(Server& agent);
/// Carries the routes out, by bulk. Throws std::runtime_error if one fails.
void program(Server& agent, Adds const& routes);

}  // namespace VelmSdkRpc::Bench
