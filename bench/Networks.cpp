#include "bench/Networks.h"

#include <algorithm>
#include <random>

#include "bench/Kinds.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr unsigned length = 24;
constexpr auto method = "/VelmSdkRpc.pb.velmsdk_service/ip_route_bulk";

bool isForRoutes(std::uint32_t network) {
   auto const first = network >> 24;
   return first > 0 && first < 224 && first != 10 && first != 127;
}

template <class Fill>
Requests bulks(Networks const& networks, Fill fill) {
   return inBulk(
      method, Requests::Answer::statuses, &pb::ip_route_bulk_msg::add_ip_route, networks, bulkSize,
      [&](pb::ip_route_msg& route, std::uint32_t network) {
         route.mutable_prefix()->set_addr(
            {static_cast<char>(network >> 24), static_cast<char>(network >> 16), static_cast<char>(network >> 8), 0});
         route.mutable_prefix()->set_prefix_length(length);
         fill(route);
      });
}

}  // namespace

Networks randomNetworks(std::size_t count) {
   std::mt19937 random(1);
   std::vector<bool> taken(std::size_t{1} << length);
   for (std::size_t chosen = 0; chosen < count;) {
      auto const number = random() >> (32 - length);
      if (taken[number] || !isForRoutes(number << (32 - length))) continue;
      taken[number] = true;
      ++chosen;
   }
   Networks networks;
   networks.reserve(count);
   for (std::uint32_t number = 0; number < taken.size(); ++number) {
      if (taken[number]) networks.push_back(number << (32 - length));
   }
   return networks;
}

Networks shuffled(Networks networks) {
   std::ranges::shuffle(networks, std::mt19937(2));
   return networks;
}

Requests routesTo(Networks const& networks, std::vector<std::string> const& groups) {
   std::size_t turn = 0;
   return bulks(networks, [&](pb::ip_route_msg& route) {
      route.set_tag(routeTag);
      route.set_nexthop_group(groups[turn++ % groups.size()]);
   });
}

Requests deletionsOf(Networks const& networks) {
   return bulks(networks, [](pb::ip_route_msg&) {});
}

}  // namespace VelmSdkRpc::Bench
