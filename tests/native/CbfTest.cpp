// CBF redirects above managers that do nothing: names, order of calls, and which calls are under the lock.
#include <thread>

#include "cbf/CbfNexthopGroupRedirect.h"
#include "cbf/CbfRedirect.h"
#include "platform/loom/TaskScheduler.h"
#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;

TEST(CbfRedirectKeyTest, TheNameHasWhatBothGroupsShareOnce) {
   struct Row {
      char const* match;
      char const* redirect;
      char const* name;
   };
   for (auto const& [match, redirect, name] :
        {Row{"nhg", "nhg-red", "nhg-red"}, Row{"nhg", "nhg_red", "nhg_red"}, Row{"nhg-a", "nhg-b", "nhg-a-b"},
         Row{"site_a_x", "site_a_y", "site_a_x_y"}, Row{"a", "b", "a-b"}, Row{"ab", "ac", "ab-ac"},
         Row{"nhg", "nhgs", "nhg-nhgs"}, Row{"nhg-red", "nhg", "nhg-red-nhg"}, Row{"a", "a", "a-a"},
         Row{"a-", "a-", "a--"}, Row{"a-", "a-b", "a--b"}, Row{"-a", "-b", "-a-b"}, Row{"nhg-a", "nhg-a-b", "nhg-a-b"},
         Row{"nhg-a-", "nhg-a--b", "nhg-a--b"}, Row{"ab-c", "ab_c", "ab-c-ab_c"}}) {
      EXPECT_EQ((CbfRedirectKey{match, redirect}.uniqueName()), name) << match << ' ' << redirect;
   }
}

TEST(AfDefinitionsTest, EveryDscpComesBack) {
   for (std::uint8_t dscp = 0; dscp < 64; ++dscp) {
      for (auto const& af : {ipv4Definitions, ipv6Definitions}) {
         EXPECT_EQ(af.dscpOf(af.priorityOf(dscp)), dscp);
         EXPECT_EQ(af.priorityOf(dscp) & ~af.dscpMask, 0);
      }
   }
}

class CbfOrderTest : public ProgrammerTest {
 protected:
   CbfOrderTest() {
      for (auto const seq : {1, 2, 5}) others.acl_rule_set(three, seq, {});
      ON_CALL(acls, acl_rule_set).WillByDefault(noted("rule set"));
      ON_CALL(acls, acl_rule_ip_iter).WillByDefault([this](auto&&...) {
         note("rules");
         return others.acl_rule_ip_iter(three);
      });
      ON_CALL(acls, acl_rule_del).WillByDefault([this](auto&&, std::uint32_t seq) {
         note("rule del " + std::to_string(seq));
      });
      ON_CALL(acls, acl_del).WillByDefault(noted("acl del"));
      ON_CALL(acls, acl_commit).WillByDefault(noted("commit"));
      ON_CALL(classMaps, class_map_is).WillByDefault(noted("class map"));
      ON_CALL(classMaps, class_map_del).WillByDefault(noted("class map del"));
      ON_CALL(policyMaps, exists).WillByDefault(noted("exists", false));
      ON_CALL(policyMaps, policy_map_is).WillByDefault(noted("policy map"));
      ON_CALL(agent, status).WillByDefault(noted("status", std::string("other")));
      ON_CALL(agent, status_set).WillByDefault(noted("status set"));
      init();
      EXPECT_TRUE(programmer.cbrPolicyMapNameIs(""));
      EXPECT_THAT(takeCalls(), IsEmpty());
      EXPECT_FALSE(programmer.cbrPolicyMapNameIs("p"));
      EXPECT_THAT(takeCalls(), ElementsAre("exists", "status", "status set"));
   }

   static pb::cbf_nexthop_group_redirect_msg redirect(std::vector<std::uint32_t> const& ipv4) {
      pb::cbf_nexthop_group_redirect_msg request;
      request.set_match_nexthop_group_name("a");
      request.set_redirect_nexthop_group_name("b");
      request.mutable_match_ipv4_dscp()->Assign(ipv4.begin(), ipv4.end());
      request.add_match_ipv6_dscp(7);
      return request;
   }
   std::vector<std::string> callsOf(pb::cbf_nexthop_group_redirect_msg const& request) {
      pb::rpc_status_msg status;
      programmer.processCbfNhgRedirectRequest(request, status);
      EXPECT_EQ(status.status(), pb::rpc_status_msg::STATUS_SUCCESS);
      return takeCalls();
   }

   velm::acl_key_t const three{"a", velm::acl_type_t::ipv4};
   velm::embedded::AclMgr others{parts.ledger};  // whose rules are read
   ::testing::NiceMock<MockAclMgr> acls;
   ::testing::NiceMock<MockClassMapMgr> classMaps;
   ::testing::NiceMock<MockPolicyMapMgr> policyMaps;
   ::testing::NiceMock<MockAgentMgr> agent;
   CbfNhgRedirectProgrammer programmer{client, &policyMaps, &classMaps, &acls, &agent};
};

TEST_F(CbfOrderTest, AnObjectThatNamesAnotherComesAfterIt) {
   EXPECT_THAT(callsOf(redirect({1, 2})),
               ElementsAre("rule set", "rule set", "rule set", "commit", "class map", "policy map"));
   EXPECT_THAT(callsOf(redirect({1, 3})), ElementsAre("rule set", "rule set", "rules", "rule del 5", "rule set",
                                                      "rules", "rule del 2", "rule del 5", "commit"));
   EXPECT_THAT(callsOf(redirect({})), ElementsAre("rules", "rule del 1", "rule del 2", "rule del 5", "rule set",
                                                  "rules", "rule del 2", "rule del 5", "commit"));
}

TEST_F(CbfOrderTest, AnAclOfAnotherTypeEndsTheProcess) {
   velm::policy_map_t policyMap;
   policyMap.rule_set(3, velm::policy_map_rule_t({"c", velm::policy_feature_t::pbr}));
   velm::class_map_t classMap;
   classMap.rule_set(1, velm::class_map_rule_t({"other", velm::acl_type_t(7)}));
   ON_CALL(policyMaps, exists).WillByDefault(Return(true));
   ON_CALL(policyMaps, policy_map).WillByDefault(Return(policyMap));
   ON_CALL(classMaps, exists).WillByDefault(Return(true));
   ON_CALL(classMaps, class_map).WillByDefault(Return(classMap));
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_DEATH(programmer.cbrPolicyMapNameIs("q"),
                "Error: policy-map seq 3 class-map c seq 1 unexpected acl-type 7 acl other\n");
}

TEST_F(CbfOrderTest, ABulkEndsWithTwoCallsOutsideTheLock) {
   pb::cbf_nexthop_group_redirect_bulk_msg bulk;
   *bulk.add_cbf_nexthop_group_redirect() = redirect({});
   pb::rpc_status_bulk_msg answer;
   programmer.processCbfNhgRedirectBulkRequest(bulk, answer);
   EXPECT_THAT(takeCalls(), ElementsAre("rule set", "class map", "(commit)", "(policy map)"));
}

TEST_F(CbfOrderTest, ARemovalWritesThePolicyMapBeforeItCommits) {
   callsOf(redirect({1}));
   auto request = redirect({});
   request.set_request_delete(true);
   EXPECT_THAT(callsOf(request), IsEmpty());
   auto& tasks = *Loom::TaskSchedulerRoot::findOrCreateScheduler();
   auto const due = tasks.nextDue();
   ASSERT_TRUE(due);
   EXPECT_THAT(callsOf(request), IsEmpty());
   EXPECT_EQ(tasks.nextDue(), due);  // is not put off
   while (!tasks.pending()) std::this_thread::yield();
   {
      velm::sdk_scoped_lock const lock;
      EXPECT_TRUE(tasks.runOne());
   }
   EXPECT_THAT(takeCalls(), ElementsAre("class map del", "acl del", "acl del", "policy map", "commit"));
}

}  // namespace
}  // namespace VelmSdkRpc
