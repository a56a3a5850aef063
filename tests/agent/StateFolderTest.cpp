#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

#include "tests/support/AgentTest.h"
#include "tests/support/AnyCall.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

class StateFolderTest : public StatefulAgentTest {};

TEST_F(StateFolderTest, TheSwitchIsAsItWasAfterARestart) {
   init();
   EXPECT_THAT(set(groupMsg("g")), Succeeded());
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "g")), Succeeded());
   for (auto const& label : {labelToGroup(100, "g"), labelToVrf(101, "red")}) EXPECT_THAT(set(label), Succeeded());
   EXPECT_THAT(set(tunnelMsg("192.0.2.1/32", "g", 5)), Succeeded());
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
   EXPECT_THAT(table("route"), ElementsAre(Pair("10.0.0.0/8", "g 0")));
   EXPECT_STREQ(show("show agent")["options"]["colour"].GetString(), "blue");
   EXPECT_STREQ(show("show agent")["statuses"]["mine"].GetString(), "kept");
   EXPECT_THAT(table("label"), ElementsAre(Pair("100", "4 0 0 hop= intf= group=g"), Pair("101", "red")));
   EXPECT_THAT(table("tunnel"), ElementsAre(Pair("192.0.2.1/32", "g 5")));
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
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "g")), Succeeded());
}

TEST_F(StateFolderTest, AFullDiskRefusesTheRequestAndTheAgentLives) {
   init();
   rlimit const limit{17 << 20, RLIM_INFINITY};
   ASSERT_EQ(prlimit(agent().pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
   std::string const longName(4000, 'n');
   std::size_t accepted = 0;
   pb::rpc_status_msg status;
   do {
      status = set(groupMsg(longName + std::to_string(accepted)));
      accepted += status.status() == pb::rpc_status_msg::STATUS_SUCCESS ? 1 : 0;
   } while (status.status() == pb::rpc_status_msg::STATUS_SUCCESS && accepted < 10000);
   EXPECT_EQ(status.status(), pb::rpc_status_msg::STATUS_ERROR);
   EXPECT_THAT(status.debug_string(), HasSubstr("takes no more of the switch's state"));
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), accepted);
   EXPECT_EQ(stop(SIGTERM), 0);
   restart();
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), accepted);
}

class KeyMaterialTest : public StatefulAgentTest {
 protected:
   KeyMaterialTest() : StatefulAgentTest("macsec/0-9") {}
};

TEST_F(KeyMaterialTest, StaysWithTheSwitchAndItsClients) {
   auto const call = [&](char const* method, std::string const& request) {
      auto const outcome = anyCall(channel(), *methodNamed(std::string("MacsecMgrService.") + method), request);
      return outcome.responses.at(0)->ShortDebugString();
   };
   std::string const keys = "name: 'm' primary_key { cak: '5ec2e7' } fallback_key { cak: '5ec2e8' }";
   EXPECT_THAT(
      call("bulk_profile_set", "requests { profile { " + keys + " } } requests { profile { " + keys + " cipher: 9 } }"),
      AllOf(HasSubstr("count: 1"), Not(HasSubstr("5ec2"))));
   EXPECT_THAT(runShow("show macsec").raw_response(), Not(HasSubstr("5ec2")));
   EXPECT_THAT(call("profile", "name: 'm'"), HasSubstr("fallback_key { cak: \"5ec2e8\" }"));
   struct stat status {};
   ASSERT_EQ(::stat(folder.c_str(), &status), 0);
   EXPECT_EQ(status.st_mode & 0777, 0700);
   EXPECT_EQ(stop(SIGTERM), 0);
   EXPECT_THAT(agent().stderrText(), Not(HasSubstr("5ec2")));
}

}  // namespace
}  // namespace VelmSdkRpc
