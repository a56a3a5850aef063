#include <csignal>
#include <thread>

#include "tests/support/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Stub = pb::velmsdk_service::Stub;

constexpr auto notInitialized = "Error: no prior rpc_server_init call, request VelmSdkRpc::pb::";

class NativeServiceTest : public AgentTest {};

TEST_F(NativeServiceTest, ProgrammersRefuseBeforeInitAndTheSwitchIsNotTouched) {
   auto const refused = [](char const* rendered) {
      return Status(rpc_status_msg::STATUS_NOT_INITIALIZED, std::string(notInitialized) + rendered);
   };
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "g")), refused("ip_route_msg{prefix=10.0.0.0/8 nexthopGroup=g tag=0}"));
   EXPECT_THAT(set(pb::nexthop_group_msg()), refused("nexthop_group_msg{name= requestDelete=false nexthop=[] "
                                                     "nexthopGroupType=NEXTHOP_GROUP_TYPE_MPLS}"));
   pb::mpls_route_bulk_msg labels;
   labels.add_mpls_route()->set_label(16);
   labels.add_mpls_route()->set_label(17);
   auto const answer = call(&Stub::mpls_route_bulk, labels);
   EXPECT_THAT(answer.status(), ElementsAre(refused("mpls_route_msg{label=16 requestDelete=false}"),
                                            refused("mpls_route_msg{label=17 requestDelete=false}")));
   for (auto const status : {call(&Stub::rpc_server_state, pb::rpc_server_state_config_msg()).status(),
                             call(&Stub::nexthop_group_tunnel, pb::nexthop_group_tunnel_msg()).status(),
                             call(&Stub::cbf_nexthop_group_redirect, pb::cbf_nexthop_group_redirect_msg()).status(),
                             call(&Stub::sbfd_echo_session, pb::sbfd_echo_session_msg()).status()}) {
      EXPECT_EQ(status, rpc_status_msg::STATUS_NOT_INITIALIZED);
   }
   EXPECT_EQ(switchCalls("ip_route_mgr.ip_route_set"), 0);
   EXPECT_EQ(switchCalls("nexthop_group_mgr.nexthop_group_set"), 0);
}

TEST_F(NativeServiceTest, InitTellsWhatTheSwitchHolds) {
   auto answer = init();
   EXPECT_THAT(answer.status(), Succeeded());
   EXPECT_TRUE(answer.has_status());
   EXPECT_FALSE(answer.ip_routes_exist() || answer.mpls_routes_exist() || answer.nexthop_groups_exist() ||
                answer.nexthop_group_tunnels_exist());
   EXPECT_TRUE(answer.cbf_policy_map_exists());  // the empty name is in force from the start
   set(groupMsg("g"));
   set(routeMsg("10.0.0.0/8", "g"));
   answer = init();
   EXPECT_TRUE(answer.ip_routes_exist() && answer.nexthop_groups_exist());
   EXPECT_FALSE(answer.mpls_routes_exist());
}

TEST_F(NativeServiceTest, AFailedInitLeavesTheClientUninitializedButTakesItsTag) {
   failNext("nexthop_group_mgr.nexthop_group_iter");
   EXPECT_THAT(init(7).status(), Status(rpc_status_msg::STATUS_ERROR, "Error: exception broken"));
   EXPECT_EQ(set(routeMsg("10.0.0.0/8", "g", 7)).status(), rpc_status_msg::STATUS_NOT_INITIALIZED);
   EXPECT_EQ(switchCalls("ip_route_mgr.tag_is"), 1);
}

TEST_F(NativeServiceTest, TheTagOfInitBindsRoutesUntilATagOfZero) {
   init(7);
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "g", 7)), Succeeded());
   EXPECT_THAT(set(routeMsg("11.0.0.0/8", "g", 0)),
               Status(rpc_status_msg::STATUS_ERROR,
                      "Error: Create 11.0.0.0/8 route with tag 0 != rpc_server_init::ip_route_tag 7"));
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "", 3)), Succeeded());  // a delete asks for no tag
   init(0);
   EXPECT_EQ(switchCalls("ip_route_mgr.tag_is"), 1);
   EXPECT_THAT(set(routeMsg("11.0.0.0/8", "g", 0)), Succeeded());
   EXPECT_THAT(routes(), ElementsAre("11.0.0.0/8"));
}

TEST_F(NativeServiceTest, RoutesAreReplacedAndDeletedByPrefix) {
   init();
   EXPECT_THAT(set(routeMsg("2001:db8::/32", "g1")), Succeeded());
   EXPECT_THAT(set(routeMsg("2001:db8::/32", "g2", 5)), Succeeded());
   auto const json = show("show ip route 2001:db8::/32");
   auto const& route = json["routes"][0];
   EXPECT_EQ(route["tag"].GetUint(), 5);
   EXPECT_EQ(route["action"].GetUint(), 3);
   EXPECT_EQ(route["vias"].Size(), 1);
   EXPECT_STREQ(route["vias"][0]["nexthop_group"].GetString(), "g2");
   auto erase = routeMsg("2001:db8::/32", "");
   erase.set_nexthop_group("");  // set but empty is a delete, too
   EXPECT_THAT(set(erase), Succeeded());
   EXPECT_THAT(set(erase), Status(rpc_status_msg::STATUS_NOT_FOUND, ""));
}

TEST_F(NativeServiceTest, ABulkAnswersEveryElementInOrderAndKeepsTheGoodOnes) {
   init(7);
   auto const answer = setAll<pb::ip_route_msg>({routeMsg("10.0.0.0/8", "g", 7), routeMsg("11.0.0.0/8", "g", 8),
                                                 routeMsg("12.0.0.0/8", "", 7), routeMsg("13.0.0.0/8", "g", 7)});
   ASSERT_EQ(answer.status_size(), 4);
   EXPECT_THAT(answer.status(0), Succeeded());
   EXPECT_EQ(answer.status(1).status(), rpc_status_msg::STATUS_ERROR);
   EXPECT_EQ(answer.status(2).status(), rpc_status_msg::STATUS_NOT_FOUND);
   EXPECT_THAT(answer.status(3), Succeeded());
   EXPECT_THAT(routes(), ElementsAre("10.0.0.0/8", "13.0.0.0/8"));
   EXPECT_EQ(setAll<pb::ip_route_msg>({}).status_size(), 0);
}

TEST_F(NativeServiceTest, GroupEntriesFollowWeightsAndLabelRules) {
   init();
   pb::nexthop_group_msg group;
   group.set_name("g");
   auto const add = [&](std::uint32_t count, std::initializer_list<std::uint32_t> labels) {
      auto& nexthop = *group.add_nexthop();
      nexthop.set_nexthop_interface("Ethernet1");
      nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_PUSH);
      nexthop.set_replicate_count(count);
      for (auto const label : labels) nexthop.add_labels(label);
   };
   add(2, {100, 200});  // turned round for the switch
   add(0, {5});         // no entry at all
   add(1, {3});         // implicit null: no label, no operation
   add(1, {100, 3});    // not that special case
   add(1, {});
   EXPECT_THAT(set(group), Succeeded());
   auto const json = show("show nexthop-group g");
   auto const& entries = json["nexthop_groups"]["g"]["nexthops"];
   auto const stackOf = [&](char const* index) {
      std::vector<unsigned> stack;
      for (auto const& label : entries[index]["mpls_action"]["label_stack"].GetArray())
         stack.push_back(label.GetUint());
      return stack;
   };
   EXPECT_EQ(json["nexthop_groups"]["g"]["type"].GetUint(), 3);
   EXPECT_EQ(entries.MemberCount(), 5);
   EXPECT_THAT(stackOf("0"), ElementsAre(200, 100));
   EXPECT_THAT(stackOf("1"), ElementsAre(200, 100));
   EXPECT_THAT(stackOf("2"), ElementsAre());
   EXPECT_EQ(entries["2"]["mpls_action"]["action_type"].GetUint(), 0);
   EXPECT_THAT(stackOf("3"), ElementsAre(3, 100));
   EXPECT_THAT(stackOf("4"), ElementsAre());
   EXPECT_EQ(entries["4"]["mpls_action"]["action_type"].GetUint(), 1);

   EXPECT_THAT(set(groupMsg("g")), Succeeded());  // replaced whole
   EXPECT_EQ(show("show nexthop-group g")["nexthop_groups"]["g"]["nexthops"].MemberCount(), 1);
}

TEST_F(NativeServiceTest, BadGroupsAreRefusedWithTheirText) {
   init();
   EXPECT_THAT(set(pb::nexthop_group_msg()).debug_string(),
               StartsWith("Error: NHG name required, request VelmSdkRpc::pb::"));
   pb::nexthop_group_msg group;
   group.set_name("g");
   EXPECT_THAT(set(group).debug_string(), StartsWith("Error: NHG g has no nexthops, request VelmSdkRpc::pb::"));
   EXPECT_THAT(set(groupMsg("g", "Ethernt1")).debug_string(), HasSubstr("'Ethernt1' is not an interface name"));
   auto tooLarge = groupMsg("g");
   tooLarge.mutable_nexthop(0)->add_labels(1048576);
   EXPECT_THAT(set(tooLarge).debug_string(), HasSubstr("1048576"));
   group.set_request_delete(true);
   EXPECT_THAT(set(group), Status(rpc_status_msg::STATUS_NOT_FOUND, "NHG g not found"));
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), 0);
   EXPECT_THAT(set(groupMsg("g", "Ethernet1", 0)), Succeeded());  // a group without entries is one
   EXPECT_THAT(set(group), Succeeded());
}

TEST_F(NativeServiceTest, AnErrorOfTheSwitchIsReportedWithTheRequest) {
   init();
   failNext("nexthop_group_mgr.nexthop_group_set");
   auto const group = set(groupMsg("g"));
   EXPECT_EQ(group.status(), rpc_status_msg::STATUS_ERROR);
   EXPECT_THAT(group.debug_string(), AllOf(StartsWith("Error: request VelmSdkRpc::pb::nexthop_group_msg{name=g "),
                                           ::testing::EndsWith("} exception broken")));
   failNext("ip_route_mgr.ip_route_via_set");
   EXPECT_THAT(set(routeMsg("10.0.0.0/8", "g")),
               Status(rpc_status_msg::STATUS_ERROR,
                      "Error: request VelmSdkRpc::pb::ip_route_msg{prefix=10.0.0.0/8 nexthopGroup=g tag=0} "
                      "exception broken"));
   EXPECT_THAT(routes(), ElementsAre("10.0.0.0/8"));  // the route went first and stays
   auto beyond = routeMsg("12.0.0.0/8", "g");
   beyond.mutable_prefix()->set_prefix_length(33);
   EXPECT_THAT(set(beyond).debug_string(), HasSubstr("length 33"));
   EXPECT_THAT(routes(), ElementsAre("10.0.0.0/8"));
}

TEST_F(NativeServiceTest, AResyncDropsWhatWasNotRepeated) {
   init();
   for (auto const* name : {"g1", "g2"}) set(groupMsg(name));
   for (auto const* prefix : {"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"}) set(routeMsg(prefix, "g1"));
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());  // a second start is no error
   set(groupMsg("g2"));
   set(routeMsg("11.0.0.0/8", "g2"));
   EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
   EXPECT_THAT(routes(), ElementsAre("11.0.0.0/8"));
   EXPECT_FALSE(show("show nexthop-group")["nexthop_groups"].HasMember("g1"));
   EXPECT_THAT(resync(pb::RESYNC_END), Status(rpc_status_msg::STATUS_ERROR, "Error: resync state is already false"));
}

TEST_F(NativeServiceTest, AResyncWithATagLeavesOtherRoutesAlone) {
   init(8);
   set(routeMsg("8.0.0.0/8", "g", 8));
   init(7);
   set(routeMsg("7.0.0.0/8", "g", 7));
   resync(pb::RESYNC_START);
   resync(pb::RESYNC_END);
   EXPECT_THAT(routes(), ElementsAre("8.0.0.0/8"));
}

TEST_F(NativeServiceTest, AResyncRunsBeforeInitAndAFailedEndCannotBeRepeated) {
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   failNext("mpls_route_mgr.resync_complete");
   EXPECT_THAT(resync(pb::RESYNC_END), Status(rpc_status_msg::STATUS_ERROR, "Error: exception broken"));
   EXPECT_EQ(switchCalls("ip_route_mgr.resync_complete"), 1);
   EXPECT_EQ(switchCalls("nexthop_group_mgr.resync_complete"), 0);  // the steps after it were not made
   EXPECT_THAT(resync(pb::RESYNC_END).debug_string(), "Error: resync state is already false");
}

TEST_F(NativeServiceTest, AnAliveCallIsHeldOpenAndEndsWithTheAgent) {
   grpc::ClientContext first;
   grpc::ClientContext second;
   grpc::ClientContext dropped;
   auto const one = client().watch_rpc_server_alive(&first, {});
   auto const two = client().watch_rpc_server_alive(&second, {});
   auto const gone = client().watch_rpc_server_alive(&dropped, {});
   dropped.TryCancel();
   EXPECT_FALSE(gone->Finish().ok());
   EXPECT_THAT(init().status(), Succeeded());
   EXPECT_EQ(stop(SIGTERM), 0);
   pb::rpc_server_alive_msg message;
   EXPECT_FALSE(one->Read(&message));
   EXPECT_FALSE(one->Finish().ok());
   EXPECT_FALSE(two->Finish().ok());
}

TEST_F(NativeServiceTest, AClientThatVanishesInMidCallLeavesTheNextOneServed) {
   init();
   for (int i = 0; i < 200; ++i) {
      grpc::ClientContext context;
      grpc::CompletionQueue queue;
      auto const pending = client().Asyncip_route(&context, routeMsg("10.0.0.0/8", "g"), &queue);
      context.TryCancel();
      pb::rpc_status_msg answer;
      grpc::Status status;
      pending->Finish(&answer, &status, &queue);
      void* tag = nullptr;
      bool ok = false;
      queue.Next(&tag, &ok);
   }
   EXPECT_THAT(set(routeMsg("11.0.0.0/8", "g")), Succeeded());
}

}  // namespace
}  // namespace VelmSdkRpc
