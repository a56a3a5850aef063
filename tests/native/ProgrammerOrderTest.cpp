// The order of the switch's operations, and what is done under the SDK lock: what a test through the switch cannot see.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "native/IpRoute.h"
#include "native/NexthopGroup.h"
#include "native/NhgTunnel.h"
#include "native/Opaque.h"
#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::Matcher;
using ::testing::NiceMock;

class ProgrammerOrderTest : public ProgrammerTest {};

auto underLock() {
   return [](auto&&...) { EXPECT_TRUE(velm::sdk_scoped_lock::held()); };
}
auto withoutLock(bool result) {
   return [result](auto&&...) {
      EXPECT_FALSE(velm::sdk_scoped_lock::held());
      return result;
   };
}

TEST_F(ProgrammerOrderTest, AResyncStartsInOneOrderAndEndsWithTheGroups) {
   {
      InSequence const sequence;
      EXPECT_CALL(ipRoutes, resync_init);
      EXPECT_CALL(mplsRoutes, resync_init);
      EXPECT_CALL(vrfLabels, resync_init);
      EXPECT_CALL(groups, resync_init);
      EXPECT_CALL(tunnels, resync_init);
      EXPECT_CALL(ipRoutes, resync_complete);
      EXPECT_CALL(mplsRoutes, resync_complete);
      EXPECT_CALL(vrfLabels, resync_complete);
      EXPECT_CALL(tunnels, resync_complete);
      EXPECT_CALL(groups, resync_complete);
   }
   EXPECT_EQ(resync(pb::RESYNC_START).status(), pb::rpc_status_msg::STATUS_SUCCESS);
   // Any value but the start is an end, also one that the schema does not list.
   EXPECT_EQ(resync(static_cast<pb::rpc_server_resync_state_enum>(7)).status(), pb::rpc_status_msg::STATUS_SUCCESS);
}

TEST_F(ProgrammerOrderTest, AnIpRouteIsSetBeforeItsViaAndDeletedAfterIt) {
   IpRouteProgrammer programmer(client, &ipRoutes);
   init();
   pb::ip_route_msg request;
   request.mutable_prefix()->set_addr(std::string(4, '\x0a'));
   request.mutable_prefix()->set_prefix_length(8);
   request.set_nexthop_group("g");
   velm::ip_route_key_t const key(velm::ip_prefix_t("10.0.0.0/8"));
   velm::ip_route_via_t via(key);
   velm::ip_route_via_t const bare = via;
   via.nexthop_group_is("g");
   {
      InSequence const sequence;
      EXPECT_CALL(ipRoutes, ip_route_set(velm::ip_route_t(key),
                                         Matcher<velm::ip_route_action_t>(velm::ip_route_action_t::nexthop_group)))
         .WillOnce(underLock());
      EXPECT_CALL(ipRoutes, ip_route_via_set(via)).WillOnce(underLock());
      EXPECT_CALL(ipRoutes, exists(Matcher<velm::ip_route_key_t const&>(key))).WillOnce(withoutLock(true));
      EXPECT_CALL(ipRoutes, ip_route_via_del(bare)).WillOnce(underLock());
      EXPECT_CALL(ipRoutes, ip_route_del(key)).WillOnce(underLock());
   }
   pb::rpc_status_msg status;
   programmer.processIpRouteRequest(request, status);
   request.clear_forwarding_nexthop();
   programmer.processIpRouteRequest(request, status);
   EXPECT_EQ(status.status(), pb::rpc_status_msg::STATUS_SUCCESS);
}

TEST_F(ProgrammerOrderTest, ABulkAnnouncesItsRoutesAHandfulAtATime) {
   IpRouteProgrammer programmer(client, &ipRoutes);
   init();
   std::vector<std::string> calls;
   ON_CALL(ipRoutes, prefetch).WillByDefault([&](auto keys, auto&&) {
      calls.push_back(fmt::format("next {}", keys.size()));
      for (auto const& key : keys) calls.push_back(key.prefix().to_string());
   });
   ON_CALL(ipRoutes, ip_route_via_set(Matcher<velm::ip_route_via_t const&>(::testing::_)))
      .WillByDefault([&](auto const& via) { calls.push_back(via.route_key().prefix().to_string()); });
   pb::ip_route_bulk_msg request;
   std::vector<std::string> expected;
   auto expect = [&](char first, char last) {
      std::vector<std::string> prefixes;
      for (char host = first; host <= last; ++host) prefixes.push_back(fmt::format("10.0.0.{}/32", int{host}));
      if (prefixes.size() > 1) {
         expected.push_back(fmt::format("next {}", prefixes.size()));
         expected.insert(expected.end(), prefixes.begin(), prefixes.end());
      }
      expected.insert(expected.end(), prefixes.begin(), prefixes.end());
   };
   for (char host = 1; host <= 33; ++host) {
      auto& route = *request.add_ip_route();
      route.mutable_prefix()->set_addr(std::string{10, 0, 0, host});
      route.mutable_prefix()->set_prefix_length(32);
      route.set_nexthop_group("g");
   }
   expect(1, 16);
   expect(17, 32);
   expect(33, 33);
   pb::rpc_status_bulk_msg statuses;
   programmer.processIpRouteBulkRequest(request, statuses);
   EXPECT_EQ(calls, expected);
   EXPECT_EQ(statuses.status_size(), 33);
}

TEST_F(ProgrammerOrderTest, AGroupIsLookedUpAndDeletedInOneStep) {
   NexthopGroupProgrammer programmer(client, &groups);
   init();
   pb::nexthop_group_msg request;
   request.set_name("g");
   request.set_request_delete(true);
   {
      InSequence const sequence;
      EXPECT_CALL(groups, exists("g")).WillOnce([](auto const&) {
         EXPECT_TRUE(velm::sdk_scoped_lock::held());
         return true;
      });
      EXPECT_CALL(groups, nexthop_group_del("g")).WillOnce(underLock());
   }
   pb::rpc_status_msg status;
   programmer.processNexthopGroupRequest(request, status);
}

TEST_F(ProgrammerOrderTest, EntriesPastTheLastIndexWrapAround) {
   NexthopGroupProgrammer programmer(client, &groups);
   init();
   pb::nexthop_group_msg request;
   request.set_name("g");
   request.set_counters_unshared(true);
   request.set_autosize(true);
   request.add_nexthop()->set_replicate_count(65536);
   auto& last = *request.add_nexthop();
   last.set_nexthop_interface("Ethernet2");
   last.set_replicate_count(1);
   EXPECT_CALL(groups, nexthop_group_set).WillOnce([](velm::nexthop_group_t const& group) {
      EXPECT_EQ(group.nexthops().size(), 65536);
      EXPECT_EQ(group.nexthops().at(0).intf(), velm::intf_id_t("Ethernet2"));
      EXPECT_EQ(group.nexthops().at(1).intf(), velm::intf_id_t());
      EXPECT_TRUE(group.counters_unshared() && group.autosize());
   });
   pb::rpc_status_msg status;
   programmer.processNexthopGroupRequest(request, status);
}

TEST_F(ProgrammerOrderTest, ATunnelIsReplacedInOneCallAndLookedUpBeforeItIsDeleted) {
   NhgTunnelProgrammer programmer(client, &tunnels);
   init();
   ON_CALL(tunnels, exists).WillByDefault(noted("exists", true));
   ON_CALL(tunnels, nexthop_group_tunnel_set).WillByDefault(noted("set"));
   ON_CALL(tunnels, nexthop_group_tunnel_del).WillByDefault(noted("del"));
   pb::nexthop_group_tunnel_msg request;
   request.set_nexthop_group("g");
   request.set_igp_metric(7);
   pb::rpc_status_msg status;
   programmer.processNhgTunnelRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("set"));
   request.clear_nexthop_group();
   programmer.processNhgTunnelRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("(exists)", "del"));
}

TEST_F(ProgrammerOrderTest, OpaquePairsAreSetThenDeletedInTheirOrderInOneStep) {
   NiceMock<MockAgentMgr> agent;
   OpaqueProgrammer programmer(client, &agent);
   init();
   ON_CALL(agent, status_set).WillByDefault([&](auto const& key, auto const& value) { note(key + '=' + value); });
   ON_CALL(agent, status_del).WillByDefault([&](auto const& key) { note("no " + key); });
   ON_CALL(agent, status).WillByDefault(noted("read", std::string("1")));
   pb::rpc_server_state_config_msg request;
   for (auto const* key : {"b", "", "a"}) {
      auto& pair = *request.add_set();
      pair.set_key(key);
      pair.set_value("1");
      request.add_delete_()->set_key(key);
   }
   pb::rpc_status_msg status;
   programmer.processOpaqueStateSetRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("b=1", "=1", "a=1", "no b", "no ", "no a"));
   pb::rpc_server_state_status_msg wanted;
   wanted.add_value();
   pb::rpc_server_state_status_msg answer;
   programmer.processOpaqueStateGetRequest(wanted, answer);
   EXPECT_THAT(takeCalls(), ElementsAre("read"));
}

}  // namespace
}  // namespace VelmSdkRpc
