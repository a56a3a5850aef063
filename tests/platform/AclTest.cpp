#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Sequences = std::vector<std::uint32_t>;

class AclTest : public SwitchTest {
 protected:
   AclMgr& mgr() { return device.acls; }
   static acl_rule_ip_t rule(std::string const& group) {
      acl_rule_ip_t rule;
      rule.nexthop_group_is(group);
      return rule;
   }
   void set(acl_key_t const& acl, Sequences const& sequences, std::string const& group = "g") {
      for (auto const sequence : sequences) mgr().acl_rule_set(acl, sequence, rule(group));
   }
   static Sequences rest(acl_rule_ip_iter_t const& it) {
      return walked(it, [](acl_rule_ip_entry_t const& entry) { return entry.first; });
   }
   Sequences read(acl_key_t const& acl) { return rest(mgr().acl_rule_ip_iter(acl)); }
   Sequences committed(acl_key_t const& acl) {
      Sequences sequences;
      if (Acl const* rules = mgr().committed().find(acl)) {
         for (auto const& [sequence, rule] : rules->rules) sequences.push_back(sequence);
      }
      return sequences;
   }

   acl_key_t const v4{"a", acl_type_t::ipv4};
   acl_key_t const v6{"a", acl_type_t::ipv6};
};

TEST_F(AclTest, EveryReadSeesWhatIsStagedAndNothingElseDoesBeforeTheCommit) {
   set(v4, {3, 1, 2});
   EXPECT_TRUE(mgr().acl_exists(v4));
   EXPECT_FALSE(mgr().acl_exists(v6));
   EXPECT_THAT(read(v4), ElementsAre(1, 2, 3));
   EXPECT_EQ(shown("show acl"), R"({"acls":[],"staged":true})");
   mgr().acl_commit();
   EXPECT_THAT(committed(v4), ElementsAre(1, 2, 3));
   EXPECT_FALSE(mgr().staged());

   mgr().acl_rule_set(v4, 2, rule("h"));
   mgr().acl_rule_del(v4, 3);
   set(v6, {7});
   EXPECT_EQ((++mgr().acl_rule_ip_iter(v4))->second.nexthop_group(), "h");
   EXPECT_THAT(read(v4), ElementsAre(1, 2));
   EXPECT_THAT(committed(v4), ElementsAre(1, 2, 3));
   EXPECT_THAT(committed(v6), IsEmpty());
   mgr().acl_commit();
   EXPECT_THAT(committed(v4), ElementsAre(1, 2));
   EXPECT_EQ(mgr().committed().find(v4)->rules.at(2), rule("h"));
   EXPECT_THAT(committed(v6), ElementsAre(7));
}

TEST_F(AclTest, ADeletionIsStagedToo) {
   set(v4, {1, 2});
   set(v6, {1});
   mgr().acl_commit();
   mgr().acl_del(v4);
   mgr().acl_del(v6);
   EXPECT_FALSE(mgr().acl_exists(v4));
   EXPECT_THAT(read(v4), IsEmpty());
   EXPECT_THAT(committed(v4), ElementsAre(1, 2));
   set(v4, {5});  // a new ACL, which has no rule of the old one
   EXPECT_THAT(read(v4), ElementsAre(5));
   mgr().acl_commit();
   EXPECT_THAT(committed(v4), ElementsAre(5));
   EXPECT_FALSE(mgr().committed().contains(v6));

   mgr().acl_rule_del(v4, 5);
   EXPECT_TRUE(mgr().acl_exists(v4));  // it has lost its rules, not itself
   mgr().acl_commit();
   EXPECT_TRUE(mgr().committed().contains(v4));
}

TEST_F(AclTest, WhatChangesNothingIsNotStaged) {
   set(v4, {1});
   mgr().acl_commit();
   set(v4, {1});
   mgr().acl_rule_del(v4, 9);
   mgr().acl_rule_del(v6, 1);
   mgr().acl_del(v6);
   EXPECT_FALSE(mgr().staged());
   set(v6, {1});
   mgr().acl_del(v6);  // never committed: nothing is left to wait
   EXPECT_FALSE(mgr().staged());
}

TEST_F(AclTest, AnIteratorSurvivesEditsCommitsAndTheEndOfItsAcl) {
   set(v4, {10, 20, 30, 40, 50, 60});
   mgr().acl_commit();
   auto it = mgr().acl_rule_ip_iter(v4);
   mgr().acl_rule_del(v4, 10);  // the element itself: the iterator has its copy
   mgr().acl_rule_del(v4, 20);
   set(v4, {5, 35, 70});
   EXPECT_EQ(it->first, 10);
   ++it;
   EXPECT_EQ(it->first, 30);
   auto copy = it;
   mgr().acl_commit();
   EXPECT_THAT(rest(it), ElementsAre(30, 35, 40, 50, 60, 70));
   mgr().acl_del(v4);
   set(v4, {1, 45});
   EXPECT_THAT(rest(it), ElementsAre(30, 45));
   mgr().acl_del(v4);
   ++copy;
   EXPECT_FALSE(copy);
   ++copy;
   EXPECT_FALSE(copy);

   // As pruning does: deleting every rule that the walk meets.
   set(v6, {1, 2, 3});
   Sequences met;
   for (auto walk = mgr().acl_rule_ip_iter(v6); walk; ++walk) {
      met.push_back(walk->first);
      mgr().acl_rule_del(v6, walk->first);
   }
   EXPECT_THAT(met, ElementsAre(1, 2, 3));
   EXPECT_THAT(read(v6), IsEmpty());
}

TEST_F(AclTest, ABadRuleIsRefusedAndStagesNothing) {
   EXPECT_THROW(mgr().acl_rule_set({"", acl_type_t::ipv4}, 1, rule("g")), invalid_argument_error);
   auto source = rule("g");
   source.source_addr_is({ip_addr_t("10.0.0.1"), 33});
   EXPECT_THROW(mgr().acl_rule_set(v4, 1, source), invalid_range_error);
   auto destination = rule("g");
   destination.destination_addr_is({ip_addr_t("::1"), 129});
   EXPECT_THROW(mgr().acl_rule_set(v4, 1, destination), invalid_range_error);
   EXPECT_FALSE(mgr().acl_exists(v4));
   EXPECT_FALSE(mgr().staged());
}

TEST_F(AclTest, ASimulatedRuleIsCommittedAtOnceAndOutlivesWhatIsStaged) {
   set(v4, {1});
   mgr().acl_commit();
   mgr().acl_del(v6);
   set(v4, {2});
   acl_key_t const other("b", acl_type_t::ipv4);
   set(other, {4});
   world({"simulate acl a type 1 rule 3 nexthop-group g priority 46 mask 63",
          "simulate acl a type 255 rule 4294967295 nexthop-group h priority 255 mask 252"});
   EXPECT_THAT(committed(v4), ElementsAre(1, 3));
   EXPECT_THAT(read(v4), ElementsAre(1, 2, 3));
   EXPECT_THAT(committed(other), IsEmpty());
   EXPECT_THAT(committed({"a", acl_type_t(255)}), ElementsAre(4294967295));
   mgr().acl_commit();
   EXPECT_THAT(committed(v4), ElementsAre(1, 2, 3));

   mgr().acl_del(v4);  // a deletion that waits stands
   world({"simulate acl a type 1 rule 4 nexthop-group g priority 0 mask 0"});
   EXPECT_FALSE(mgr().acl_exists(v4));
   mgr().acl_commit();
   EXPECT_FALSE(mgr().committed().contains(v4));
}

}  // namespace
}  // namespace velm::embedded
