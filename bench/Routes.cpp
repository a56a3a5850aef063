#include "bench/Routes.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>

#include "bench/Caller.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::uint32_t tag = 7;
constexpr auto groupName = "group-1";
constexpr std::size_t loadSize = 1000;  // elements of a bulk request that loads a table

std::string networkOrder(std::uint32_t value) {
   std::string bytes(4, '\0');
   for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>(value >> (24 - 8 * i));
   return bytes;
}

pb::ip_route_msg route(std::size_t place, Family family) {
   bool const ipv4 = family == Family::ipv4;
   auto const number = static_cast<std::uint32_t>(place);
   pb::ip_route_msg route;
   route.set_tag(tag);
   route.set_nexthop_group(groupName);
   auto& prefix = *route.mutable_prefix();
   prefix.set_addr(ipv4 ? networkOrder((16U << 24U) + number)
                        : std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0", 12) + networkOrder(number));
   prefix.set_prefix_length(ipv4 ? 32 : 128);
   return route;
}

// Places on the line of addresses: the table holds the even ones, the odd ones are fresh.
std::size_t heldPlace(std::size_t index) { return 2 * index; }
std::size_t freshPlace(std::size_t index) { return 2 * index + 1; }

// The numbers below `count` in an order that is the same in every run.
std::vector<std::uint32_t> shuffledIndexes(std::size_t count) {
   std::vector<std::uint32_t> indexes(count);
   std::iota(indexes.begin(), indexes.end(), 0U);
   std::shuffle(indexes.begin(), indexes.end(), std::mt19937(1));
   return indexes;
}

void require(bool done, char const* what, google::protobuf::Message const& answer) {
   if (!done) throw std::runtime_error(std::string(what) + " failed: " + answer.ShortDebugString());
}

}  // namespace

char const* nameOf(Order order) {
   switch (order) {
      case Order::ascending: return "ascending";
      case Order::shuffled: return "shuffled";
      case Order::repeated: return "repeated";
   }
   return "?";
}

Adds tableOf(std::size_t routes, Family family) {
   Adds table;
   table.reserve(routes);
   for (std::size_t i = 0; i < routes; ++i) table.push_back(route(heldPlace(i), family));
   return table;
}

Adds addsOf(Order order, std::size_t routes, std::size_t count, std::size_t round) {
   auto const shuffled = order == Order::ascending ? std::vector<std::uint32_t>() : shuffledIndexes(routes);
   Adds adds;
   adds.reserve(count);
   for (std::size_t i = 0; i < count; ++i) {
      auto const turn = (round * count + i) % routes;
      auto const index = order == Order::ascending ? turn : shuffled[turn];
      adds.push_back(route(order == Order::repeated ? heldPlace(index) : freshPlace(index), Family::ipv4));
   }
   return adds;
}

Adds deletionOf(Adds adds) {
   for (auto& add : adds) add.clear_nexthop_group();
   return adds;
}

std::vector<pb::ip_route_bulk_msg> inBulk(Adds const& routes, std::size_t size) {
   std::vector<pb::ip_route_bulk_msg> requests;
   for (std::size_t i = 0; i < routes.size(); ++i) {
      if (i % size == 0) requests.emplace_back();
      *requests.back().add_ip_route() = routes[i];
   }
   return requests;
}

void openSession(Server& agent) {
   grpc::ClientContext initContext;
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   pb::rpc_server_init_status_msg opened;
   bool const done = agent.stub().rpc_server_init(&initContext, config, &opened).ok();
   require(done && opened.status().status() == pb::rpc_status_msg::STATUS_SUCCESS, "rpc_server_init", opened);

   grpc::ClientContext groupContext;
   pb::nexthop_group_msg group;
   group.set_name(groupName);
   auto& nexthop = *group.add_nexthop();
   nexthop.mutable_nexthop_ip()->set_addr(networkOrder(10U << 24U | 1U));
   nexthop.set_replicate_count(1);
   pb::rpc_status_msg made;
   bool const answered = agent.stub().nexthop_group(&groupContext, group, &made).ok();
   require(answered && made.status() == pb::rpc_status_msg::STATUS_SUCCESS, "nexthop_group", made);
}

void program(Server& agent, Adds const& routes) {
   Caller<pb::ip_route_bulk_msg, pb::rpc_status_bulk_msg> caller(agent.channel(),
                                                                 &pb::velmsdk_service::Stub::Asyncip_route_bulk, 2);
   caller.call(inBulk(routes, loadSize));
}

}  // namespace VelmSdkRpc::Bench
