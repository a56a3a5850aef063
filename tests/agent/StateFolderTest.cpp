#include <grpcpp/completion_queue.h>
#include <sys/resource.h>

#include <csignal>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class StateFolderTest : public StatefulAgentTest {
 protected:
   std::map<std::string, std::string> groupsByPrefix() {
      std::map<std::string, std::string> groups;
      auto const json = show("show ip route");
      for (auto const& route : json["routes"].GetArray()) {
         auto const vias = route["vias"].GetArray();
         groups[route["key"]["prefix"].GetString()] = vias.Empty() ? "none" : vias[0]["nexthop_group"].GetString();
      }
      return groups;
   }
};

TEST_F(StateFolderTest, TheSwitchIsAsItWasAfterARestart) {
   init();
   EXPECT_THAT(setGroup(groupMsg("g")), Succeeded());
   EXPECT_THAT(setRoute(routeMsg("10.0.0.0/8", "g")), Succeeded());
   for (auto const& label : {labelToGroup(100, "g"), labelToVrf(101, "red")}) EXPECT_THAT(setLabel(label), Succeeded());
   EXPECT_THAT(setTunnel(tunnelMsg("192.0.2.1/32", "g", 5)), Succeeded());
   pb::rpc_server_state_config_msg pair;
   pair.add_set()->set_key("mine");
   pair.mutable_set(0)->set_value("kept");
   EXPECT_THAT(call(&pb::velmsdk_service::Stub::rpc_server_state, pair), Succeeded());
   world({"interface Ethernet1", "description \"to the north\"", "shutdown", "ip address 192.0.2.1/24",
          "interface Loopback0", "agent option colour blue"});
   auto const interfaces = runShow("show interfaces").raw_response();
   EXPECT_EQ(stop(SIGTERM), 0);
   restart();
   EXPECT_EQ(runShow("show interfaces").raw_response(), interfaces);
   EXPECT_THAT(groupsByPrefix(), ElementsAre(::testing::Pair("10.0.0.0/8", "g")));
   EXPECT_STREQ(show("show agent")["options"]["colour"].GetString(), "blue");
   EXPECT_STREQ(show("show agent")["statuses"]["mine"].GetString(), "kept");
   EXPECT_THAT(labels(), ElementsAre("100 4 0 0 hop= intf= group=g", "101 red"));
   EXPECT_THAT(tunnels(), ElementsAre("192.0.2.1/32 g 5"));
   EXPECT_STREQ(show("show version")["state"].GetString(), folder.c_str());
   auto const found = init();
   EXPECT_TRUE(found.ip_routes_exist() && found.nexthop_groups_exist() && found.mpls_routes_exist() &&
               found.nexthop_group_tunnels_exist());
   EXPECT_TRUE(
      eventually([&] { return show("show nexthop-group g")["nexthop_groups"]["g"]["version"].GetInt() == 1; }));
   EXPECT_FALSE(show("show nexthop-group g")["nexthop_groups"]["g"]["active"].GetBool());  // its interface is shut down
}

TEST_F(StateFolderTest, AFolderThatCannotBeUsedEndsTheStartWithOneLine) {
   AgentProcess second({AGENT_PROGRAM, {}, {"--switch-state", folder}});
   EXPECT_EQ(second.waitForEnd(), 2 << 8);
   EXPECT_THAT(second.stderrText(),
               HasSubstr("VelmSdkRpc: state folder " + folder + ": it is in use by another process\n"));
   init();  // the first one is not disturbed
   EXPECT_THAT(setRoute(routeMsg("10.0.0.0/8", "g")), Succeeded());
}

TEST_F(StateFolderTest, AFullDiskRefusesTheRequestAndTheAgentLives) {
   init();
   rlimit const limit{17 << 20, RLIM_INFINITY};
   ASSERT_EQ(prlimit(agent().pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
   std::string const longName(4000, 'n');
   std::size_t accepted = 0;
   pb::rpc_status_msg status;
   do {
      status = setGroup(groupMsg(longName + std::to_string(accepted)));
      accepted += status.status() == pb::rpc_status_msg::STATUS_SUCCESS ? 1 : 0;
   } while (status.status() == pb::rpc_status_msg::STATUS_SUCCESS && accepted < 10000);
   EXPECT_EQ(status.status(), pb::rpc_status_msg::STATUS_ERROR);
   EXPECT_THAT(status.debug_string(), HasSubstr("takes no more of the switch's state"));
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), accepted);
   EXPECT_EQ(stop(SIGTERM), 0);
   restart();
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), accepted);
}

/// A controller that programs at random until the agent is killed under it, and knows what it was told.
class KillTest : public StateFolderTest {
 protected:
   static constexpr int prefixes = 400;
   static constexpr int groups = 5;
   using Routes = std::map<std::string, std::string>;

   int upTo(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }
   // A route to a group, or the deletion of a route, which names none.
   pb::ip_route_msg anyRoute() {
      auto const prefix = fmt::format("10.{}.{}.0/24", upTo(prefixes) / 20, upTo(20));
      return routeMsg(prefix, upTo(4) == 0 ? std::string() : fmt::format("g{}", upTo(groups)));
   }
   pb::ip_route_bulk_msg anyRoutes(int most) {
      pb::ip_route_bulk_msg bulk;
      for (int left = 1 + upTo(most); left > 0; --left) *bulk.add_ip_route() = anyRoute();
      return bulk;
   }
   static std::string textOf(pb::ip_prefix_msg const& prefix) {
      return fmt::format("10.{}.{}.0/24", static_cast<unsigned char>(prefix.addr()[1]),
                         static_cast<unsigned char>(prefix.addr()[2]));
   }
   static void carryOut(pb::ip_route_msg const& route, Routes& routes) {
      if (route.nexthop_group().empty()) {
         routes.erase(textOf(route.prefix()));
      } else {
         routes[textOf(route.prefix())] = route.nexthop_group();
      }
   }

   // What the controller knows when the agent has been killed under it.
   struct Knowledge {
      Routes routes;               // as of the last answer
      pb::ip_route_bulk_msg open;  // the request that was under way: a part of it, from its start, may have happened
   };

   Knowledge programUntilKilled(Routes routes) {
      for (int requests = upTo(30); requests > 0; --requests) {
         auto const bulk = anyRoutes(20);
         call(&pb::velmsdk_service::Stub::ip_route_bulk, bulk);
         for (auto const& route : bulk.ip_route()) carryOut(route, routes);
      }
      auto last = anyRoutes(2000);
      grpc::ClientContext context;
      grpc::CompletionQueue queue;
      pb::rpc_status_bulk_msg response;
      grpc::Status status;
      auto const reader = client().Asyncip_route_bulk(&context, last, &queue);
      reader->Finish(&response, &status, &status);
      void* tag = nullptr;
      bool ok = false;
      auto const soon = std::chrono::system_clock::now() + std::chrono::microseconds(upTo(1000));
      bool const ended = queue.AsyncNext(&tag, &ok, soon) == grpc::CompletionQueue::GOT_EVENT;
      agent().signal(SIGKILL);
      agent().waitForEnd();
      if (!ended) queue.Next(&tag, &ok);
      if (status.ok()) {
         for (auto const& route : last.ip_route()) carryOut(route, routes);
         last.Clear();
      }
      return {std::move(routes), std::move(last)};
   }

   // Whether the switch is as it was told, the open request carried out up to some point.
   static bool explains(Knowledge const& known, Routes const& found) {
      auto routes = known.routes;
      if (routes == found) return true;
      for (auto const& route : known.open.ip_route()) {
         // A new route is there before its via is.
         bool const fresh = !route.nexthop_group().empty() && routes.try_emplace(textOf(route.prefix()), "none").second;
         if (fresh && routes == found) return true;
         carryOut(route, routes);
         if (routes == found) return true;
      }
      return false;
   }

   std::mt19937 random_{20};  // the same requests each time; the moments of the kills differ
};

TEST_F(KillTest, WhatWasAnsweredIsThereAfterEachOfAHundredKills) {
   constexpr int kills = 100;
   Routes found;
   int open = 0;
   for (int kill = 0; kill < kills; ++kill) {
      init();
      auto const known = programUntilKilled(found);
      restart();
      found = groupsByPrefix();
      ASSERT_TRUE(explains(known, found)) << "after kill " << kill;
      open += known.open.ip_route_size() > 0 ? 1 : 0;
   }
   EXPECT_GT(open, 10);  // the kills did hit requests under way
}

}  // namespace
}  // namespace VelmSdkRpc
