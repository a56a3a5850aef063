// Requests that fail: a fault of the switch at each call that a programmer makes, what the client is told of it and
// what stays.
#include <csignal>
#include <sstream>

#include "tests/support/AgentTest.h"
#include "tests/support/AnyCall.h"

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;
using Stub = pb::velmsdk_service::Stub;

class FaultTest : public AgentTest {
 protected:
   /// Sends the request with the operation broken.
   template <class Request>
   void expectFault(Request const& request, std::string const& operation) {
      failNext(operation);
      auto const answer = set(request);
      EXPECT_EQ(answer.status(), rpc_status_msg::STATUS_ERROR);
      EXPECT_THAT(answer.debug_string(),
                  StartsWith("Error: request VelmSdkRpc::pb::" + request.GetTypeName().substr(14)));
      EXPECT_THAT(answer.debug_string(), EndsWith("} exception broken"));
   }
};

// Texts of the label 100 in the switch; "|" parts a route and a lookup in a VRF that are both there.
constexpr auto nothing = "none";
constexpr auto toRed = "red";
constexpr auto toGroup = "4 0 0 hop= intf= group=g";
constexpr auto toBareRoute = "";

struct LabelFault {
   pb::mpls_route_msg before;
   pb::mpls_route_msg request;
   char const* operation;
   std::string left;
};

TEST_F(FaultTest, AFaultAtEachStepOfALabelLeavesWhatWasDone) {
   init();
   auto const none = labelDeletion(100);
   auto const group = labelToGroup(100, "g");
   auto const vrf = labelToVrf(100, "red");
   auto const nexthop = labelToNexthop(100, 200);
   for (auto const& [before, request, operation, left] : std::vector<LabelFault>{
           {group, nexthop, "mpls_route_mgr.exists", toGroup},
           {group, nexthop, "mpls_route_mgr.mpls_route_del", toGroup},
           {group, nexthop, "mpls_route_mgr.mpls_route_set", nothing},  // the old one is gone by then
           {group, nexthop, "mpls_route_mgr.mpls_route_via_set", toBareRoute},
           {vrf, nexthop, "mpls_vrf_label_mgr.mpls_vrf_label", "3 200 0 hop= intf=Ethernet1 group=|red"},
           {vrf, group, "mpls_vrf_label_mgr.mpls_vrf_label_del", "4 0 0 hop= intf= group=g|red"},
           {group, vrf, "mpls_vrf_label_mgr.mpls_vrf_label_set", toGroup},
           {group, vrf, "mpls_route_mgr.exists", "4 0 0 hop= intf= group=g|red"},
           {group, vrf, "mpls_route_mgr.mpls_route_del", "4 0 0 hop= intf= group=g|red"},
           {group, none, "mpls_route_mgr.exists", toGroup},
           {group, none, "mpls_route_mgr.mpls_route_del", toGroup},
           {vrf, none, "mpls_vrf_label_mgr.mpls_vrf_label", toRed},
           {vrf, none, "mpls_vrf_label_mgr.mpls_vrf_label_del", toRed},
        }) {
      SCOPED_TRACE(operation);
      ASSERT_THAT(set(before), Succeeded());
      expectFault(request, operation);
      auto const labels = table("label");
      EXPECT_EQ(labels.contains("100") ? labels.at("100") : nothing, left);
      set(none);  // takes the route alone where a fault left both forms
      set(none);
      ASSERT_THAT(table("label"), IsEmpty());
   }
}

TEST_F(FaultTest, AFaultOfATunnelChangesNothing) {
   init();
   auto const tunnel = tunnelMsg("192.0.2.1/32", "g", 5);
   expectFault(tunnel, "nexthop_group_tunnel_mgr.nexthop_group_tunnel_set");
   EXPECT_THAT(table("tunnel"), IsEmpty());
   EXPECT_THAT(set(tunnel), Succeeded());
   EXPECT_THAT(set(tunnelMsg("192.0.2.1/32", "g", 6)), Succeeded());
   for (auto const* operation : {"exists", "nexthop_group_tunnel_del"}) {
      expectFault(tunnelMsg("192.0.2.1/32", "", 7), std::string("nexthop_group_tunnel_mgr.") + operation);
      EXPECT_THAT(table("tunnel"), ElementsAre(Pair("192.0.2.1/32", "g 6")));
   }
   EXPECT_THAT(set(tunnelMsg("192.0.2.1/32", "")), Succeeded());
   EXPECT_THAT(set(tunnelMsg("192.0.2.1/32", "")), Status(rpc_status_msg::STATUS_NOT_FOUND, ""));
   pb::nexthop_group_tunnel_msg bare;
   bare.set_nexthop_group("g");
   EXPECT_THAT(set(bare), Succeeded());
   EXPECT_THAT(table("tunnel"), ElementsAre(Pair("", "g 0")));  // an absent prefix is the null prefix
}

TEST_F(FaultTest, AFaultOfAnOpaquePairKeepsThePairsBeforeIt) {
   auto const ask = [&](std::initializer_list<char const*> keys) {
      pb::rpc_server_state_status_msg request;
      for (auto const* key : keys) request.add_value()->set_key(key);
      std::vector<std::string> found;
      auto const answer = call(&Stub::get_rpc_server_state, request);
      for (auto const& pair : answer.value()) found.push_back(pair.key() + '=' + pair.value());
      return found;
   };
   EXPECT_THAT(ask({"a", ""}), ElementsAre("a=", "="));  // before init
   init();
   pb::rpc_server_state_config_msg request;
   for (auto const* key : {"a", "b"}) {
      auto& pair = *request.add_set();
      pair.set_key(key);
      pair.set_value("1");
   }
   request.add_delete_()->set_key("a");
   request.add_delete_()->set_key("absent");
   auto const set = [&] { return call(&Stub::rpc_server_state, request); };
   constexpr auto text =
      "Error: request VelmSdkRpc::pb::rpc_server_state_config_msg{set=[a=1, b=1 delete=[a, absent]} "
      "exception broken";
   failNext("agent_mgr.status_set");
   EXPECT_THAT(set(), Status(rpc_status_msg::STATUS_ERROR, text));
   EXPECT_THAT(ask({"a", "b"}), ElementsAre("a=", "b="));
   failNext("agent_mgr.status_del");
   EXPECT_THAT(set(), Status(rpc_status_msg::STATUS_ERROR, text));
   EXPECT_THAT(ask({"b", "a", "absent"}), ElementsAre("b=1", "a=1", "absent="));
   EXPECT_THAT(set(), Succeeded());
   EXPECT_THAT(ask({"a", "b"}), ElementsAre("a=", "b=1"));
   EXPECT_STREQ(show("show agent")["statuses"]["b"].GetString(), "1");
   failNext("agent_mgr.status");
   EXPECT_THAT(ask({"a", "b"}), IsEmpty());
   constexpr auto told = "Error: request VelmSdkRpc::pb::rpc_server_state_status_msg{value=[a, b]} exception broken\n";
   EXPECT_TRUE(hasWritten(told));
}

/// Every line of trace that the programmers may write.
class TraceTest : public AgentTest {
 protected:
   TraceTest() : AgentTest({"--trace", "VelmSdkRpc/0-2", "--trace", "agent/9"}) {}
};

TEST_F(TraceTest, ProgrammersTellWhatTheyDo) {
   init();
   auto pop = labelToGroup(101, "g");
   pop.mutable_forward_nexthop_group()->set_mpls_operation(
      pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_POP);
   for (auto const& request : {labelToNexthop(100, 200), pop, labelToVrf(100, "red"), labelDeletion(100)}) set(request);
   for (auto const* group : {"g", ""}) set(tunnelMsg("192.0.2.1/32", group));
   pb::rpc_server_state_config_msg pairs;
   pairs.add_set()->set_key("a");
   pairs.mutable_set(0)->set_value("1");
   pairs.add_delete_()->set_key("b");
   call(&Stub::rpc_server_state, pairs);
   pb::rpc_server_state_status_msg wanted;
   wanted.add_value()->set_key("a");
   call(&Stub::get_rpc_server_state, wanted);
   anyCall(channel(), *methodNamed("AgentService.agent_id"), "name: 'VelmSdkRpc'");
   stop(SIGTERM);
   EXPECT_THAT(agent().stderrText(), ::testing::HasSubstr(" Agent VelmSdkRpc id 1\n"));
   std::vector<std::string> said;
   std::istringstream lines(agent().stderrText());
   for (std::string line; std::getline(lines, line);) {
      for (std::string const unit : {" MplsRouteProgrammer ", " NhgTunnelProgrammer ", " OpaqueProgrammer "}) {
         auto const start = line.find(unit);
         if (start == std::string::npos) continue;
         auto const level = line.substr(line.find("VelmSdkRpc ") + 11, 2);
         said.push_back(level + line.substr(line.find(' ', start + unit.size()) + 1));
      }
   }
   EXPECT_THAT(said, ElementsAre("1 MPLS label 100 create route nexthop_msg Ethernet1  swap 200",
                                 "1 MPLS label 101 create route nexthop-group g mpls_operation_enum pop",
                                 "2 MPLS label 100 create popAndLookup", "1 MPLS label 100 delete route",
                                 "1 MPLS label 100 no via found on delete", "2 MPLS label 100 delete popAndLookup",
                                 "1 create 192.0.2.1/32 tunnel", "1 delete 192.0.2.1/32 tunnel",
                                 "1 Opaque set for 1 key/value pairs and 1 deletes", "1 Opaque set key='a' value='1'",
                                 "1 Opaque del key='b'", "1 Opaque get for 1 keys", "1 Opaque get key='a' value='1'"));
}

}  // namespace
}  // namespace VelmSdkRpc
