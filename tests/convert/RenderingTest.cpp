#include <absl/strings/str_replace.h>
#include <fmt/format.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "convert/Format.h"

namespace VelmSdkRpc::pb {
namespace {

/// Builds a message from protobuf's own text and compares what clients see, byte for byte; "@" stands for the
/// namespace.
template <class Message>
void expectText(std::string const& fields, std::string const& expected) {
   SCOPED_TRACE(fields);
   Message message;
   ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(fields, &message));
   auto const text = toString(message);
   EXPECT_EQ(text, absl::StrReplaceAll(expected, {{"@", "VelmSdkRpc::pb::"}}));
   std::ostringstream stream;
   stream << message;
   EXPECT_EQ(stream.str(), text);
   EXPECT_EQ(fmt::format("{}", message), text);
}

TEST(TextFormTest, AddressesAndStatusesPrintBare) {
   expectText<ip_address_msg>(R"(addr: "\n\000\000\001")", "10.0.0.1");
   expectText<ip_address_msg>(R"(addr: " \001\r\270\0\0\0\0\0\0\0\0\0\0\0\001")", "2001:db8::1");
   expectText<ip_address_msg>("", "");
   expectText<ip_prefix_msg>(R"(addr: "\n\001\002\003" prefix_length: 24)", "10.1.2.0/24");
   expectText<ip_prefix_msg>(R"(addr: "\n\001\002\003" prefix_length: 99)", "10.1.2.3/99");
   expectText<ip_prefix_msg>("prefix_length: 24", "");
   expectText<rpc_status_msg>(R"(status: STATUS_NOT_FOUND debug_string: "hidden")", "STATUS_NOT_FOUND");
   expectText<sbfd_echo_session_oper_status_msg>("status: STATUS_UP", "STATUS_UP");
}

TEST(TextFormTest, RouteShowsItsGroupOnlyIfSet) {
   expectText<ip_route_msg>(R"(prefix {addr: "\n\0\0\0" prefix_length: 8} tag: 7 nexthop_group: "g")",
                            "@ip_route_msg{prefix=10.0.0.0/8 nexthopGroup=g tag=7}");
   expectText<ip_route_msg>("tag: 4294967295", "@ip_route_msg{prefix= tag=4294967295}");
   expectText<ip_route_msg>(R"(nexthop_group: "")", "@ip_route_msg{prefix= nexthopGroup= tag=0}");
   expectText<nexthop_group_tunnel_msg>(R"(nexthop_group: "g" igp_metric: 5)",
                                        "@nexthop_group_tunnel_msg{prefix= nexthopGroup=g igpMetric=5}");
}

TEST(TextFormTest, LabelsAndGroupsShowTheirChoiceAndNexthops) {
   std::string const fields =
      R"({nexthop_ip {addr: "\n\0\0\001"} nexthop_interface: "Ethernet1" mpls_operation: MPLS_OP_PUSH
          labels: [100, 200] replicate_count: 2})";
   std::string const nexthop =
      "@nexthop_msg{nexthopIp=10.0.0.1 nexthopInterface=Ethernet1 mplsOp=MPLS_OP_PUSH labels=[100, 200] "
      "replicateCount=2}";
   std::string const route = "@mpls_route_msg{label=0 requestDelete=false ";
   expectText<mpls_route_msg>("label: 16 request_delete: true", "@mpls_route_msg{label=16 requestDelete=true}");
   expectText<mpls_route_msg>(
      R"(forward_nexthop_group {nexthop_group: "g" mpls_operation: FORWARD_OP_FORWARD})",
      route + "nexthopGroup=@mpls_route_msg_forward_nexthop_group_msg{nexthopGroup=g mplsOp=FORWARD_OP_FORWARD}}");
   expectText<mpls_route_msg>(R"(pop_and_forward_vrf_name: "red")", route + "popAndForwardVrfName=red}");
   expectText<mpls_route_msg>("nexthop " + fields, route + "nexthop=" + nexthop + "}");

   std::string const type = " nexthopGroupType=NEXTHOP_GROUP_TYPE_MPLS}";
   expectText<nexthop_group_msg>("", "@nexthop_group_msg{name= requestDelete=false nexthop=[]" + type);
   expectText<nexthop_group_msg>(
      R"(name: "g" counters_unshared: true autosize: true nexthop )" + fields + " nexthop " + fields,
      "@nexthop_group_msg{name=g requestDelete=false nexthop=[" + nexthop + ", " + nexthop + "]" + type);
}

TEST(TextFormTest, StateKeepsItsOpenBracketAndHidesWhatIsRead) {
   expectText<rpc_server_state_config_msg>(
      R"(set {key: "a" value: "1"} set {key: "b" value: "2"} delete {key: "c" value: "3"})",
      "@rpc_server_state_config_msg{set=[a=1, b=2 delete=[c]}");
   expectText<rpc_server_state_config_msg>("", "@rpc_server_state_config_msg{set=[ delete=[]}");
   expectText<rpc_server_state_status_msg>(R"(value {key: "a" value: "1"} value {key: "b"})",
                                           "@rpc_server_state_status_msg{value=[a, b]}");
}

TEST(TextFormTest, RedirectKeepsItsFamiliesApart) {
   expectText<cbf_nexthop_group_redirect_msg>(
      R"(match_nexthop_group_name: "m" match_ipv4_dscp: [1, 2] redirect_nexthop_group_name: "r" request_delete: true)",
      "@cbf_nexthop_group_redirect_msg{matchNexthopGroup=m matchIpv4Dscp=[1, 2] matchIpv6Dscp=[] "
      "redirectNexthopGroup=r requestDelete=true}");
}

TEST(TextFormTest, BatchOfUpdatesBeginsWithASeparator) {
   using update = watch_sbfd_echo_session_status_msg;
   std::string const fields = R"(session_key {outgoing_interface: "Ethernet1" labels: [16, 17] dscp: 46 mpls_exp: 5})";
   std::string const key =
      "sessionKey=@sbfd_echo_session_key_msg{outgoingInterface=Ethernet1 nexthop= labels=[16, 17] dscp=46 mplsExp=5}";
   std::string const type = "@watch_sbfd_echo_session_status_msg";
   expectText<update>("", type + "{}");
   expectText<update>(fields + "status {status: STATUS_DOWN}", type + "{" + key + " status=STATUS_DOWN}");
   expectText<update>(
      "rtt {last_rtt: 1 min_rtt: 2 avg_rtt: 3 max_rtt: 4 snapshot_min_rtt: 5 snapshot_avg_rtt: 6 "
      "snapshot_max_rtt: 7}",
      type +
         "{rtt=@sbfd_echo_session_rtt_msg{lastRtt=1 minRtt=2 avgRtt=3 maxRtt=4 snapshotMinRtt=5 "
         "snapshotAvgRtt=6 snapshotMaxRtt=7}}");
   expectText<update>("bulk {status {status: STATUS_UP}} bulk {end_of_status_batch: true}",
                      type + "{bulk=#2[, " + type + "{status=STATUS_UP}, " + type + "{endOfStatusBatch=true}]}");
   expectText<update>(fields + "bulk {}", type + "{" + key + " bulk=#1[, " + type + "{}]}");
   expectText<update>("end_of_status_batch: false bulk {}",
                      type + "{endOfStatusBatch=false bulk=#1[, " + type + "{}]}");
   expectText<watch_sbfd_echo_session_config_msg>("", "@watch_sbfd_echo_session_config_msg{requestRttUpdates=false}");
   expectText<sbfd_echo_session_msg>(fields + "rtt_enabled: true min_tx: 300 detection_multiplier: 3",
                                     "@sbfd_echo_session_msg{" + key +
                                        " requestDelete=false rttEnabled=true minTx=300 detectionMultiplier=3 "
                                        "trackInterfaceState=false}");
}

TEST(TextFormTest, UnknownEnumValueIsAnEmptyName) {
   mpls_route_msg_forward_nexthop_group_msg forward;
   forward.set_mpls_operation(static_cast<mpls_route_msg_forward_nexthop_group_msg_mpls_operation_enum>(-7));
   EXPECT_EQ(toString(forward), "VelmSdkRpc::pb::mpls_route_msg_forward_nexthop_group_msg{nexthopGroup= mplsOp=}");
   expectText<rpc_status_msg>("status: 3", "");
}

TEST(TextFormTest, StreamStateNeitherShowsNorChanges) {
   mpls_route_msg route;
   route.set_label(255);
   std::ostringstream stream;
   stream << std::hex << std::showbase << std::setfill('*') << route << ' ' << 255 << ' ' << true;
   EXPECT_EQ(stream.str(), "VelmSdkRpc::pb::mpls_route_msg{label=255 requestDelete=false} 0xff 0x1");
   EXPECT_EQ(stream.fill(), '*');
}

}  // namespace
}  // namespace VelmSdkRpc::pb
