// Requests and answers as people write and read them.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>

#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Connection.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/MessageReader.h"
#include "clients/velmctl/MessageWriter.h"
#include "proto/velmsdk.pb.h"
#include "tests/support/AnyMessage.h"

namespace VelmSdkRpc::ctl {
namespace {

std::string written(google::protobuf::Message const& message) {
   JsonDocument document;
   return compactText(writeMessage(message, document.GetAllocator()));
}

TEST(MessageTest, WhatIsWrittenIsReadAgain) {
   AnyMessage any(1);
   for (auto const& name : typeNames()) {
      auto const* const type = findMessage(name);
      if (type == nullptr) continue;  // an enum
      for (int i = 0; i < 20; ++i) {
         auto const message = newMessage(*type);
         any.fill(*message);
         auto const again = newMessage(*type);
         ASSERT_NO_THROW(readMessage(written(*message), *again)) << written(*message);
         EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(*message, *again)) << written(*message);
      }
   }
}

TEST(MessageTest, ValuesAreWrittenAsPeopleDo) {
   pb::sbfd_echo_session_msg session;
   session.mutable_session_key()->mutable_nexthop()->set_addr({"\x0a\0\0\x01", 4});
   session.mutable_session_key()->add_labels(16);
   EXPECT_EQ(written(session),
             R"({"session_key":{"outgoing_interface":"","nexthop":"10.0.0.1","labels":[16],"dscp":0,"mpls_exp":0},)"
             R"("request_delete":false,"rtt_enabled":false,"min_tx":0,"detection_multiplier":0,)"
             R"("track_interface_state":false})");
   pb::ip_route_msg route;
   route.mutable_prefix()->set_addr(std::string(16, '\0'));
   route.mutable_prefix()->set_prefix_length(3);
   EXPECT_EQ(written(route), R"({"prefix":"::/3","tag":0})");
}

struct Wrong {
   char const* type;
   char const* json;
   char const* error;
};

std::string errorOf(Wrong const& wrong) {
   try {
      readMessage(wrong.json, *newMessage(*findMessage(wrong.type)));
   } catch (UsageError const& e) {
      return e.what();
   }
   return "none";
}

TEST(MessageTest, WrongRequestsAreToldWithPlaceAndExpectation) {
   for (auto const& wrong : std::initializer_list<Wrong>{
           {"ip_route_msg", "[]", "expected an object, not []"},
           {"ip_route_msg", "{\"tag\":1,}", "no JSON at column 10: Missing a name for object member."},
           {"ip_route_msg", "{\n\"tag\" 1}",
            "no JSON at line 2, column 7: Missing a colon after a name of object member."},
           {"ip_route_msg", R"({"tga":1})",
            R"(ip_route_msg has no field "tga" (did you mean "tag"?); it has prefix, tag, nexthop_group)"},
           {"ip_route_msg", R"({"tag":-1})", "tag: expected a whole number from 0 to 4294967295, not -1"},
           {"ip_route_msg", R"({"tag":4294967296})",
            "tag: expected a whole number from 0 to 4294967295, not 4294967296"},
           {"ip_route_msg", R"({"tag":1.5})", "tag: expected a whole number from 0 to 4294967295, not 1.5"},
           {"ip_route_msg", R"({"tag":[]})", "tag: expected a whole number from 0 to 4294967295, not []"},
           {"ip_route_msg", R"({"nexthop_group":7})", "nexthop_group: expected a text, not 7"},
           {"ip_route_msg", R"({"prefix":"10.0.0.0/33"})",
            R"(prefix: expected a prefix like "10.0.0.0/8", not "10.0.0.0/33")"},
           {"ip_route_msg", R"({"prefix":"10.0.0.0"})",
            R"(prefix: expected a prefix like "10.0.0.0/8", not "10.0.0.0")"},
           {"ip_route_bulk_msg", R"({"ip_route":[{},{"prefix":{"addr":"CgAAAA=="}}]})",
            R"(ip_route[1].prefix.addr: expected an address like "10.0.0.1" or "2001:db8::1", not "CgAAAA==")"},
           {"ip_route_bulk_msg", R"({"ip_route":{}})", "ip_route: expected a list, not {}"},
           {"IpRouteVia", R"({"router_mac":"10.0.0.1"})",
            R"(router_mac: expected a MAC address like "00:1c:73:00:00:01", not "10.0.0.1")"},
           {"IpRouteVia", R"({"hop":"00:1c:73:00:00:01"})",
            R"(hop: expected an address like "10.0.0.1" or "2001:db8::1", not "00:1c:73:00:00:01")"},
           {"NexthopGroup", R"({"nexthops":{"1":{},"two":{}}})",
            R"(nexthops[two]: expected a whole number from 0 to 4294967295, not "two")"},
           {"rpc_server_resync_msg", R"({"resync_state":2})",
            "resync_state: expected one of RESYNC_START, RESYNC_END, not 2"},
           {"nexthop_group_msg", R"({"request_delete":"yes"})", R"(request_delete: expected true or false, not "yes")"},
           {"mpls_route_msg", R"({"nexthop":{},"pop_and_forward_vrf_name":"red"})",
            "pop_and_forward_vrf_name: excludes nexthop, which is given, too"}}) {
      EXPECT_EQ(errorOf(wrong), wrong.error) << wrong.json;
   }
}

TEST(MessageTest, ArgumentsSetFieldsWhereverTheyLie) {
   pb::sbfd_echo_session_msg session;
   for (auto const* argument :
        {"session_key.nexthop=10.0.0.1", "session_key.outgoing_interface=Ethernet1", "session_key.labels=[16,17]",
         "session_key.labels=18", "rtt_enabled=true", "min_tx=50"}) {
      readArgument(argument, session);
   }
   auto const expected =
      R"({"session_key":{"outgoing_interface":"Ethernet1","nexthop":"10.0.0.1","labels":[16,17,18]},)"
      R"("rtt_enabled":true,"min_tx":50})";
   pb::sbfd_echo_session_msg same;
   readMessage(std::string_view(expected), same);
   EXPECT_EQ(written(session), written(same));

   auto const refusal = [&](char const* argument) -> std::string {
      try {
         readArgument(argument, session);
      } catch (UsageError const& e) {
         return e.what();
      }
      return "none";
   };
   EXPECT_EQ(refusal("session_key"), "expected FIELD=VALUE, not session_key");
   EXPECT_EQ(refusal("session_key.labels=[16"),
             "session_key.labels: no JSON at column 4: Missing a comma or ']' after an array element. in [16");
   EXPECT_EQ(refusal("min_tx.more=1"), "min_tx: no field \"more\" in it");
   EXPECT_EQ(refusal("session_key.nexthop=10.0.0"),
             R"(session_key.nexthop: expected an address like "10.0.0.1" or "2001:db8::1", not "10.0.0")");
}

}  // namespace
}  // namespace VelmSdkRpc::ctl
