// CBF redirects through the native service: what they become in the switch, at which cost, how they go, and how they
// are found again.
#include <csignal>
#include <map>

#include "clients/support/Call.h"
#include "tests/support/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;
using Stub = pb::velmsdk_service::Stub;
using Request = pb::cbf_nexthop_group_redirect_msg;
using Dscps = std::vector<std::uint32_t>;

Request redirect(std::string const& match, std::string const& to, Dscps const& ipv4, Dscps const& ipv6 = {}) {
   Request request;
   request.set_match_nexthop_group_name(match);
   request.set_redirect_nexthop_group_name(to);
   request.mutable_match_ipv4_dscp()->Assign(ipv4.begin(), ipv4.end());
   request.mutable_match_ipv6_dscp()->Assign(ipv6.begin(), ipv6.end());
   return request;
}
Request deletion(std::string const& match, std::string const& to) { return deletionOf(redirect(match, to, {})); }

class CbfTest : public StatefulAgentTest {
 protected:
   CbfTest() : StatefulAgentTest("VelmSdkRpc/0-1,5-7") {}

   bool initWith(std::string const& policyMap) {
      auto const answer = init(0, policyMap);
      EXPECT_THAT(answer.status(), Succeeded());
      return answer.cbf_policy_map_exists();
   }

   /// The objects that redirects are made of: "p 1: c -> b" a rule of a policy map, "c: 1=a_IPv4/1" a class map, and
   /// "a_IPv4/1: 1=46&63@a" an ACL, by number the rules with value, mask and match group.
   std::vector<std::string> objects() {
      std::vector<std::string> lines;
      auto const add = [&](std::string line, auto const& rules, auto const& text) {
         for (auto const& rule : rules.GetObject()) {
            line += fmt::format(" {}={}", rule.name.GetString(), text(rule.value));
         }
         lines.push_back(std::move(line));
      };
      auto const aclName = [](auto const& key) {
         return fmt::format("{}/{}", key["acl_name"].GetString(), key["acl_type"].GetUint());
      };
      auto const policyMaps = show("show policy-map");
      for (auto const& map : policyMaps["policy_maps"].GetArray()) {
         for (auto const& rule : map["rules"].GetObject()) {
            auto line = fmt::format("{} {}: {} ->", map["key"]["name"].GetString(), rule.name.GetString(),
                                    rule.value["class_map_key"]["name"].GetString());
            for (auto const& action : rule.value["actions"].GetArray()) {
               line += fmt::format(" {}", action["nexthop_group_name"].GetString());
            }
            lines.push_back(std::move(line));
         }
      }
      auto const classMaps = show("show class-map");
      for (auto const& map : classMaps["class_maps"].GetArray()) {
         add(fmt::format("{}:", map["key"]["name"].GetString()), map["rules"],
             [&](auto const& rule) { return aclName(rule["acl_key"]); });
      }
      auto const acls = show("show acl");
      EXPECT_FALSE(acls["staged"].GetBool());
      for (auto const& acl : acls["acls"].GetArray()) {
         add(fmt::format("{}:", aclName(acl)), acl["rules"], [&](auto const& rule) {
            EXPECT_EQ(rule["action"].GetUint(), 1);
            EXPECT_TRUE(rule["match_ip_priority"].GetBool());
            return fmt::format("{}&{}@{}", rule["priority_value"].GetUint(), rule["priority_mask"].GetUint(),
                               rule["nexthop_group"].GetString());
         });
      }
      return lines;
   }

   using Calls = std::map<std::string, std::uint64_t>;
   Calls callsSoFar() {
      Calls calls;
      auto const json = show("show switch calls");
      for (auto const& call : json["calls"].GetObject()) calls[call.name.GetString()] = call.value.GetUint64();
      return calls;
   }
   /// The calls of the switch that the work makes, but for those of a client's own commands.
   template <class Work>
   Calls callsOf(Work&& work) {
      auto const before = callsSoFar();
      work();
      auto calls = callsSoFar();
      for (auto const& [name, count] : before) calls[name] -= count;
      std::erase_if(calls, [](auto const& call) { return call.second == 0 || call.first.starts_with("vapi_mgr."); });
      return calls;
   }

   std::uint64_t removalRuns() {
      auto const json = show("show switch tasks");
      return json["tasks"]["PolicyMapRemove"]["runs"].GetUint64();
   }
   /// Does the work and waits until the removals that it asked for are over.
   template <class Work>
   void andRemovals(Work&& work) {
      auto const before = removalRuns();
      work();
      EXPECT_TRUE(eventually([&] { return removalRuns() == before + 1; }));
   }
};

TEST_F(CbfTest, RequestsAreCheckedInOrder) {
   auto request = redirect("", "", {});
   EXPECT_EQ(set(request).status(), rpc_status_msg::STATUS_NOT_INITIALIZED);
   initWith("");
   auto const expectRefusal = [&](char const* text) {
      EXPECT_THAT(set(request), Status(rpc_status_msg::STATUS_ERROR, text));
   };
   expectRefusal("Error: no cbf_nexthop_group_redirect_policy_map_name specified in init");
   initWith("p");
   expectRefusal("Error: match_nexthop_group_name required");
   request.set_match_nexthop_group_name("a");
   expectRefusal("Error: redirect_nexthop_group_name required");
   request.set_redirect_nexthop_group_name("b");
   expectRefusal("Error: match_ipv4_dscp or match_ipv6_dscp must be specified");
   request = redirect("a", "b", {63, 64, 65}, {300});
   expectRefusal("Error: match_ipv4_dscp contain invalid DSCP value 64");
   request.set_match_ipv4_dscp(1, 0);
   request.set_match_ipv4_dscp(2, 0);
   expectRefusal("Error: match_ipv6_dscp contain invalid DSCP value 300");
   request.set_request_delete(true);  // looks at the groups alone
   EXPECT_THAT(set(request), Status(rpc_status_msg::STATUS_NOT_FOUND, ""));
   EXPECT_THAT(objects(), IsEmpty());
   EXPECT_THAT(set(redirect("a", "b", {}, {63})), Succeeded());
}

TEST_F(CbfTest, ARedirectIsARuleAClassMapAndAnAclForEachFamily) {
   initWith("p");
   EXPECT_THAT(set(redirect("nhg-a", "nhg-b", {46, 0}, {63, 46, 46})), Succeeded());
   EXPECT_THAT(set(redirect("a", "b", {}, {1})), Succeeded());
   EXPECT_THAT(objects(), ElementsAre("p 1: nhg-a-b -> nhg-b", "p 2: a-b -> b", "a-b: 1=a-b_IPv4/1 2=a-b_IPv6/2",
                                      "nhg-a-b: 1=nhg-a-b_IPv4/1 2=nhg-a-b_IPv6/2", "a-b_IPv6/2: 1=4&252@a",
                                      "nhg-a-b_IPv4/1: 1=0&63@nhg-a 2=46&63@nhg-a",
                                      "nhg-a-b_IPv6/2: 1=184&252@nhg-a 2=184&252@nhg-a 3=252&252@nhg-a"));
   EXPECT_EQ(show("show policy-map")["policy_maps"][0]["key"]["feature"].GetUint(), 1);
   EXPECT_TRUE(hasWritten("Added p seq 1 matching nhg-a redirect nhg-b IPv4-DSCP [0, 46] IPv6-DSCP [46, 46, 63]"));
   EXPECT_TRUE(hasWritten("Added p seq 2 matching a redirect b IPv4-DSCP [] IPv6-DSCP [1]"));
}

TEST_F(CbfTest, OnlyWhatChangesIsWritten) {
   initWith("p");
   set(redirect("a", "b", {1, 2, 3}, {4}));
   EXPECT_THAT(callsOf([&] { set(redirect("a", "b", {3, 1, 2}, {4})); }), IsEmpty());
   EXPECT_TRUE(
      hasWritten("Ignore add p seq 1 matching a redirect b IPv4-DSCP [1, 2, 3] IPv6-DSCP [4] existing sequence\n"));
   EXPECT_THAT(callsOf([&] {
                  set(redirect("a", "b", {1, 5}, {4, 4}));
               }),
               ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("acl_mgr.acl_rule_del", 1),
                           Pair("acl_mgr.acl_rule_ip_iter", 2), Pair("acl_mgr.acl_rule_set", 4)));
   EXPECT_TRUE(
      hasWritten("Update Acl p seq 1 matching a redirect b IPv4-DSCP [1, 2, 3]->[1, 5] IPv6-DSCP [4]->[4, 4]"));
   EXPECT_THAT(objects(), ElementsAre("p 1: a-b -> b", "a-b: 1=a-b_IPv4/1 2=a-b_IPv6/2",
                                      "a-b_IPv4/1: 1=1&63@a 2=5&63@a", "a-b_IPv6/2: 1=16&252@a 2=16&252@a"));
   set(redirect("a", "b", {}, {4}));
   EXPECT_THAT(objects(),
               ElementsAre("p 1: a-b -> b", "a-b: 1=a-b_IPv4/1 2=a-b_IPv6/2", "a-b_IPv4/1:", "a-b_IPv6/2: 1=16&252@a"));
}

TEST_F(CbfTest, ABulkAnswersEachAndCommitsOnce) {
   initWith("p");
   std::vector<Request> requests;
   for (int i = 0; i < 50; ++i) requests.push_back(redirect(fmt::format("m{}", i), "r", {1, 2}, {3}));
   requests[10].set_match_ipv6_dscp(0, 64);
   requests[20] = deletion("x", "y");
   pb::rpc_status_bulk_msg answer;
   EXPECT_THAT(callsOf([&] { answer = setAll(requests); }),
               ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("acl_mgr.acl_rule_set", 48 * 3),
                           Pair("class_map_mgr.class_map_is", 48), Pair("policy_map_mgr.policy_map_is", 1)));
   ASSERT_EQ(answer.status_size(), 50);
   for (int i = 0; i < 50; ++i) {
      if (i == 10 || i == 20) continue;
      EXPECT_THAT(answer.status(i), Succeeded()) << i;
   }
   EXPECT_THAT(answer.status(10),
               Status(rpc_status_msg::STATUS_ERROR, "Error: match_ipv6_dscp contain invalid DSCP value 64"));
   EXPECT_THAT(answer.status(20), Status(rpc_status_msg::STATUS_NOT_FOUND, ""));
   EXPECT_THAT(objects(), Contains("p 48: m49-r -> r"));
   EXPECT_THAT(callsOf([&] { setAll(requests); }),
               ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("policy_map_mgr.policy_map_is", 1)));
   EXPECT_THAT(callsOf([&] { EXPECT_EQ(setAll<Request>({}).status_size(), 0); }),
               ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("policy_map_mgr.policy_map_is", 1)));
}

TEST_F(CbfTest, TheRemovalsOfASecondShareOneWrite) {
   initWith("p");
   setAll<Request>({redirect("a", "b", {1}), redirect("a", "c", {2}, {3}), redirect("a", "d", {4})});
   auto const kept = objects();
   andRemovals([&] {
      EXPECT_THAT(callsOf([&] {
                     EXPECT_THAT(set(deletion("a", "b")), Succeeded());
                     EXPECT_THAT(set(deletion("a", "b")), Succeeded());
                     EXPECT_THAT(setAll<Request>({deletion("a", "c")}).status(0), Succeeded());
                  }),
                  ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("policy_map_mgr.policy_map_is", 1)));  // the bulk's
      EXPECT_EQ(objects(), kept);
   });
   EXPECT_THAT(objects(), ElementsAre("p 3: a-d -> d", "a-d: 1=a-d_IPv4/1 2=a-d_IPv6/2", "a-d_IPv4/1: 1=4&63@a"));
   EXPECT_TRUE(hasWritten("Scheduled removal p seq 1 matching a redirect b"));
   EXPECT_TRUE(hasWritten("Removed p seq 2 matchNhg a redirectNhg c"));
   EXPECT_TRUE(hasWritten("Removed 2 sequences from p"));
   EXPECT_THAT(set(deletion("a", "b")), Status(rpc_status_msg::STATUS_NOT_FOUND, ""));
   EXPECT_THAT(set(redirect("a", "b", {1})), Succeeded());
   EXPECT_THAT(objects(), Contains("p 4: a-b -> b"));  // no number comes twice
}

TEST_F(CbfTest, AnAddTakesARemovalBack) {
   initWith("p");
   setAll<Request>({redirect("a", "b", {1}), redirect("a", "c", {2})});
   auto const before = objects();
   auto const calls = callsOf([&] {
      andRemovals([&] {
         set(deletion("a", "b"));
         set(redirect("a", "b", {1}));
      });
   });
   EXPECT_THAT(calls,
               ElementsAre(Pair("acl_mgr.acl_commit", 1), Pair("policy_map_mgr.policy_map_is", 1)));  // the task's
   EXPECT_EQ(objects(), before);
   EXPECT_TRUE(hasWritten("existing sequence unscheduled pending removal"));
   EXPECT_TRUE(hasWritten("Removed 0 sequences from p"));
   andRemovals([&] {
      set(deletion("a", "c"));
      set(redirect("a", "c", {3}));
   });
   EXPECT_THAT(objects(), Contains("a-c_IPv4/1: 1=3&63@a"));
}

TEST_F(CbfTest, ARestartFindsTheRedirectsAndAResyncPurgesThoseNotRepeated) {
   EXPECT_FALSE(initWith("p"));
   EXPECT_THAT(callsOf([&] { EXPECT_TRUE(initWith("p")); }),
               ::testing::Not(Contains(Pair(StartsWith("policy_map"), 1))));
   setAll<Request>({redirect("a", "b", {46}, {46}), redirect("a", "c", {2, 1}, {3}), redirect("a", "d", {4})});
   EXPECT_EQ(stop(SIGKILL), -SIGKILL);
   restart();
   EXPECT_TRUE(initWith("p"));
   EXPECT_TRUE(hasWritten("Restored policy-map seq 2 nexthop-group a -> c IPv4 DSCP [1, 2] IPv6 DSCP [3]"));
   resync(pb::RESYNC_START);
   EXPECT_THAT(callsOf([&] { set(redirect("a", "b", {46}, {46})); }), IsEmpty());
   auto const calls = callsOf([&] { andRemovals([&] { EXPECT_THAT(resync(pb::RESYNC_END), Succeeded()); }); });
   EXPECT_THAT(calls, Contains(Pair("class_map_mgr.class_map_del", 2)));
   EXPECT_THAT(calls, Contains(Pair("acl_mgr.acl_del", 4)));
   EXPECT_THAT(calls, Contains(Pair("policy_map_mgr.policy_map_is", 1)));
   EXPECT_THAT(objects(), ElementsAre("p 1: a-b -> b", "a-b: 1=a-b_IPv4/1 2=a-b_IPv6/2", "a-b_IPv4/1: 1=46&63@a",
                                      "a-b_IPv6/2: 1=184&252@a"));
   EXPECT_STREQ(show("show agent")["statuses"]["VelmSdkRpc-cbfNexthopGroupRedirectPolicyMapName"].GetString(), "p");
   andRemovals([&] { set(deletion("a", "b")); });
   EXPECT_EQ(stop(SIGTERM), 0);
   restart();
   EXPECT_FALSE(initWith("p"));  // there is one, without a rule
}

TEST_F(CbfTest, ARedirectLooksFreshAgainAfter256Resyncs) {
   initWith("p");
   set(redirect("a", "b", {1}));
   for (int i = 0; i < 256; ++i) resync(pb::RESYNC_START);
   resync(pb::RESYNC_END);
   andRemovals([&] {
      for (int i = 0; i < 257; ++i) resync(pb::RESYNC_START);
      EXPECT_EQ(removalRuns(), 0);
      resync(pb::RESYNC_END);
   });
   EXPECT_THAT(objects(), IsEmpty());
}

struct Defect {
   char const* name;
   std::vector<std::string> commands;  // beside a sound rule 5
   std::vector<std::string> traces;
};

class CbfDefectTest : public CbfTest, public ::testing::WithParamInterface<Defect> {};

TEST_P(CbfDefectTest, IsTracedAndTakenAwayWithWhatItNames) {
   auto const rule = [](int seq, std::string const& match) {
      return std::vector<std::string>{
         fmt::format("simulate acl {}_IPv4 type 1 rule 1 nexthop-group {} priority 46 mask 63", match, match),
         fmt::format("simulate class-map {} rule 1 acl {}_IPv4 type 1", match, match),
         fmt::format("simulate policy-map p feature 1 rule {} class-map {} nexthop-group r", seq, match)};
   };
   world(rule(5, "sound"));
   auto const sound = objects();
   world(rule(9, "bad"));
   world(GetParam().commands);
   EXPECT_TRUE(initWith("p"));
   for (auto const& text : GetParam().traces)
      EXPECT_TRUE(hasWritten(" Error: policy-map seq 9 " + text + "\n")) << text;
   auto const left = objects();
   EXPECT_THAT(left, ::testing::Not(Contains(StartsWith("bad"))));
   EXPECT_THAT(left, Contains(StartsWith("p 9: ")));  // until the policy map is written
   EXPECT_THAT(callsOf([&] { set(redirect("sound", "r", {46})); }), IsEmpty());
   set(redirect("a", "b", {1}));
   auto after = objects();
   EXPECT_THAT(after, Contains("p 10: a-b -> b"));
   std::erase_if(after, [](auto const& line) { return line.find("a-b") != std::string::npos; });
   EXPECT_EQ(after, sound);
}

INSTANTIATE_TEST_SUITE_P(
   Rule, CbfDefectTest,
   ::testing::Values(
      Defect{"TwoActions",
             {"simulate policy-map p feature 1 rule 9 class-map bad nexthop-group r nexthop-group s"},
             {"missing redirect NexthopGroup"}},
      Defect{"NoAction", {"simulate policy-map p feature 1 rule 9 class-map bad"}, {"missing redirect NexthopGroup"}},
      Defect{"TwoAclsOfAFamily",
             {"simulate acl bad2 type 1 rule 1 nexthop-group bad priority 1 mask 63",
              "simulate class-map bad rule 7 acl bad2 type 1"},
             {"class-map bad seq 7 existing DSCP values"}},
      Defect{"TwoMatchGroups",
             {"simulate acl bad_IPv4 type 1 rule 2 nexthop-group other priority 1 mask 63"},
             {"class-map bad seq 1 contradicting match NexthopGroups bad other"}}),
   [](auto const& info) { return info.param.name; });

TEST_F(CbfTest, ARuleWithoutItsClassMapGoesWithTheNextWrite) {
   world({"simulate policy-map p feature 1 rule 3 class-map gone nexthop-group r",
          "simulate class-map empty rule 1 acl none type 2",
          "simulate policy-map p feature 1 rule 4 class-map empty nexthop-group r"});
   EXPECT_TRUE(initWith("p"));
   EXPECT_TRUE(hasWritten("Error: policy-map seq 3 class-map gone missing\n"));
   EXPECT_TRUE(hasWritten("Error: policy-map seq 3 missing match NexthopGroup\n"));
   EXPECT_TRUE(hasWritten("Error: policy-map seq 4 missing match NexthopGroup\n"));
   EXPECT_THAT(objects(), ElementsAre("p 3: gone -> r", "p 4: empty -> r"));
   setAll<Request>({});
   EXPECT_THAT(objects(), IsEmpty());
}

TEST_F(CbfTest, TheLaterOfTwoRulesForOneRedirectIsOwned) {
   for (int seq : {2, 4}) {
      world({fmt::format("simulate acl c{} type 2 rule 1 nexthop-group a priority 184 mask 252", seq),
             fmt::format("simulate class-map c{} rule 1 acl c{} type 2", seq, seq),
             fmt::format("simulate policy-map p feature 1 rule {} class-map c{} nexthop-group b", seq, seq)});
   }
   EXPECT_TRUE(initWith("p"));
   EXPECT_THAT(callsOf([&] { set(redirect("a", "b", {}, {46})); }), IsEmpty());
   EXPECT_TRUE(hasWritten("Ignore add p seq 4 "));
   andRemovals([&] { set(deletion("a", "b")); });
   EXPECT_THAT(objects(), Contains("p 2: c2 -> b"));
   EXPECT_THAT(objects(), ::testing::Not(Contains(StartsWith("p 4"))));
}

TEST_F(CbfTest, AFaultAtEachStepLeavesWhatWasDone) {
   initWith("p");
   auto const expectFault = [&](std::string const& operation, Request const& request) {
      SCOPED_TRACE(operation);
      failNext(operation);
      auto const answer = set(request);
      EXPECT_EQ(answer.status(), rpc_status_msg::STATUS_ERROR);
      EXPECT_THAT(answer.debug_string(),
                  StartsWith("Error: request VelmSdkRpc::pb::cbf_nexthop_group_redirect_msg{matchNexthopGroup=a "));
      EXPECT_THAT(answer.debug_string(), EndsWith(" exception broken"));
   };
   auto const request = redirect("a", "b", {1}, {2});
   for (auto const* operation : {"acl_mgr.acl_rule_set", "acl_mgr.acl_commit", "class_map_mgr.class_map_is"}) {
      expectFault(operation, request);
      EXPECT_THAT(set(deletion("a", "b")), Status(rpc_status_msg::STATUS_NOT_FOUND, "")) << operation;
   }
   expectFault("policy_map_mgr.policy_map_is", request);  // has become one, which the switch has not seen
   EXPECT_THAT(objects(),
               ElementsAre("a-b: 1=a-b_IPv4/1 2=a-b_IPv6/2", "a-b_IPv4/1: 1=1&63@a", "a-b_IPv6/2: 1=8&252@a"));
   EXPECT_THAT(callsOf([&] { EXPECT_THAT(set(request), Succeeded()); }), IsEmpty());
   setAll<Request>({});
   EXPECT_THAT(objects(), Contains("p 1: a-b -> b"));
   for (auto const* operation : {"acl_mgr.acl_rule_ip_iter", "acl_mgr.acl_rule_del"}) {
      expectFault(operation, redirect("a", "b", {}, {2}));
      EXPECT_THAT(callsOf([&] { set(redirect("a", "b", {}, {2})); }), IsEmpty());  // the values count as written
      set(redirect("a", "b", {1}, {2}));
   }
}

class FatalFaultTest : public AgentTest {
 protected:
   /// A policy map with a rule that is none of ours, so that init has something to clean up.
   void prepareRestore() {
      world({"simulate policy-map p feature 1 rule 3 class-map c nexthop-group r nexthop-group s",
             "simulate class-map c rule 1 acl c type 1",
             "simulate acl c type 1 rule 1 nexthop-group m priority 1 mask 63"});
   }
   template <class Answer, class Request>
   void expectNoAnswer(grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Answer*),
                       Request const& request) {
      grpc::ClientContext context;
      Answer answer;
      EXPECT_FALSE((client().*method)(&context, request, &answer).ok());
   }
   void meet(std::string const& when) {
      if (when == "restore") {
         pb::rpc_server_config_msg config;
         config.set_cbf_nexthop_group_redirect_policy_map_name("p");
         expectNoAnswer(&Stub::rpc_server_init, config);
      } else if (when == "bulk") {
         expectNoAnswer(&Stub::cbf_nexthop_group_redirect_bulk, pb::cbf_nexthop_group_redirect_bulk_msg());
      } else if (when == "removal") {
         EXPECT_THAT(set(deletion("a", "b")), Succeeded());
      } else {
         runConfig({"simulate interface Ethernet9 oper down"});
      }
   }
};

TEST_F(FatalFaultTest, EndsTheAgentWhereNobodyCouldBeToldOfIt) {
   struct Row {
      std::string when;
      std::string operation;
   };
   for (auto const& [when, operation] : {Row{"restore", "policy_map_mgr.exists"},
                                         {"restore", "policy_map_mgr.policy_map"},
                                         {"restore", "agent_mgr.status"},
                                         {"restore", "agent_mgr.status_set"},
                                         {"restore", "class_map_mgr.exists"},
                                         {"restore", "class_map_mgr.class_map"},
                                         {"restore", "acl_mgr.acl_rule_ip_iter"},
                                         {"restore", "class_map_mgr.class_map_del"},
                                         {"restore", "acl_mgr.acl_exists"},
                                         {"restore", "acl_mgr.acl_del"},
                                         {"restore", "acl_mgr.acl_commit"},
                                         {"bulk", "acl_mgr.acl_commit"},
                                         {"bulk", "policy_map_mgr.policy_map_is"},
                                         {"removal", "class_map_mgr.class_map_del"},
                                         {"removal", "acl_mgr.acl_del"},
                                         {"removal", "policy_map_mgr.policy_map_is"},
                                         {"removal", "acl_mgr.acl_commit"},
                                         {"event", "intf_mgr.admin_enabled"},
                                         {"event", "bfd_session_mgr.sbfd_echo_session_status"}}) {
      SCOPED_TRACE(when + ' ' + operation);
      prepareRestore();
      if (when != "restore") {
         init(0, "p");
         EXPECT_THAT(set(redirect("a", "b", {1})), Succeeded());
         EXPECT_THAT(set(sessionMsg("Ethernet9", 16, true)), Succeeded());
      }
      failNext(operation);
      try {
         meet(when);
      } catch (CallError const&) {  // the agent has ended before its answer has left
      }
      EXPECT_EQ(waitForEnd(), -SIGABRT);
      EXPECT_THAT(agent().stderrText(), HasSubstr("terminate called after throwing an instance of 'velm::error'"));
      restart();
   }
}

}  // namespace
}  // namespace VelmSdkRpc
