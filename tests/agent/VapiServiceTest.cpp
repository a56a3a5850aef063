#include "tests/support/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class VapiServiceTest : public AgentTest {};

TEST_F(VapiServiceTest, AListStopsAtItsFirstFailureAndKeepsWhatRan) {
   auto const answer = runConfig({"interface Ethernet1", "interfce Ethernet2", "interface Ethernet3"});
   EXPECT_FALSE(answer.success());
   EXPECT_EQ(answer.error_code(), 1000);
   EXPECT_THAT(answer.error_message(), StartsWith("command 2 of 3 'interfce Ethernet2' failed: invalid command"));
   EXPECT_THAT(answer.responses(), ElementsAre("{}"));
   EXPECT_EQ(answer.raw_response(), "[{}]");
}

TEST_F(VapiServiceTest, RefusedAndUnparsableCommandsDiffer) {
   struct Row {
      std::string command;
      unsigned code;
      std::string text;
   };
   std::vector<Row> const rows{
      {"shutdown", 1001, "no interface is chosen"},
      {"no interface Ethernet1", 1001, "Ethernet1 is a port"},
      {"interface Ethernt1", 1000, "expected an interface at 'Ethernt1'"},
      {"description \"half", 1000, "a quote is not closed"},
      {"simulate fail no_mgr.op error x", 1001, "no such operation no_mgr.op"},
      {"simulate fail ip_route_mgr.exists odd x", 1001, "no such error odd"},
      {"simulate macsec Ethernet1 key-status 99 traffic-status 1", 1001, "key-status 99 is out of range"},
      {"show version", 1000, "expected"}};
   for (auto const& row : rows) {
      auto const answer = runConfig({row.command});
      EXPECT_EQ(answer.error_code(), row.code) << row.command;
      EXPECT_THAT(answer.error_message(), HasSubstr(row.text));
   }
   EXPECT_EQ(runShow("show nexthop-group nope").error_code(), 1001);
   auto const empty = runConfig({});
   EXPECT_TRUE(empty.success());
   EXPECT_EQ(empty.responses_size(), 0);
   EXPECT_EQ(empty.raw_response(), "[]");
}

TEST_F(VapiServiceTest, LinesApplyToTheChosenInterface) {
   world({"interface Ethernet5", "description \"to core 1\"", "shutdown", "ip address 10.0.0.1/31", "exit"});
   auto const json = show("show interfaces Ethernet5");
   auto const& intf = json["interfaces"]["Ethernet5"];
   EXPECT_FALSE(intf["admin_enabled"].GetBool());
   EXPECT_EQ(intf["oper_status"].GetUint(), 2);
   EXPECT_STREQ(intf["description"].GetString(), "to core 1");
   EXPECT_STREQ(intf["ip_addrs"][0].GetString(), "10.0.0.1/31");
   EXPECT_STREQ(intf["kernel_intf_name"].GetString(), "eth5");
   EXPECT_EQ(show("show interfaces")["interfaces"].MemberCount(), 33);
}

TEST_F(VapiServiceTest, AGroupFollowsItsInterface) {
   auto const isActive = [&](bool active, unsigned version) {
      return eventually([&] {
         auto const json = show("show nexthop-group g");
         auto const& group = json["nexthop_groups"]["g"];
         return group["active"].GetBool() == active && group["version"].GetUint() == version;
      });
   };
   init();
   set(groupMsg("g", "Ethernet7"));
   EXPECT_TRUE(isActive(true, 1));
   world({"interface Ethernet7", "shutdown"});
   EXPECT_TRUE(isActive(false, 1));
   world({"interface Ethernet7", "no shutdown", "simulate interface Ethernet7 oper down"});
   EXPECT_TRUE(isActive(false, 1));
   world({"simulate interface Ethernet7 oper up"});
   EXPECT_TRUE(isActive(true, 1));
   set(groupMsg("g", "Ethernet8"));
   EXPECT_TRUE(isActive(true, 2));
}

TEST_F(VapiServiceTest, RoutesAreShownByPrefixLimitAndCount) {
   init();
   for (auto const* prefix : {"10.2.0.0/16", "10.1.0.0/16", "2001:db8::/32", "9.0.0.0/8"}) {
      set(routeMsg(prefix, "g"));
   }
   EXPECT_THAT(routes(), ElementsAre("9.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"));
   EXPECT_EQ(show("show ip route summary")["count"].GetUint(), 4);
   EXPECT_EQ(show("show ip route vrf red summary")["count"].GetUint(), 0);
   EXPECT_EQ(show("show ip route limit 2")["routes"].Size(), 2);
   EXPECT_STREQ(show("show ip route 10.1.0.0/16")["routes"][0]["key"]["prefix"].GetString(), "10.1.0.0/16");
   EXPECT_EQ(show("show ip route 10.3.0.0/16")["routes"].Size(), 0);
   EXPECT_STREQ(show("show version")["name"].GetString(), "VelmSdkRpc");
}

}  // namespace
}  // namespace VelmSdkRpc
