#include <utility>

#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

struct Recorder : policy_map_handler {
   explicit Recorder(policy_map_mgr& mgr) : policy_map_handler(&mgr) { watch_all_policy_maps(true); }
   void on_policy_map_sync(policy_map_key_t const& key) override { seen.push_back(key.to_string() + " sync"); }
   void on_policy_map_sync_fail(policy_map_key_t const& key, std::string const& message) override {
      seen.push_back(key.to_string() + " failed: " + message);
   }
   void on_policy_map_config_set(policy_map_key_t const& key) override { seen.push_back(key.to_string() + " set"); }

   std::vector<std::string> take() { return std::exchange(seen, {}); }
   std::vector<std::string> seen;
};

policy_map_rule_t redirect(std::string const& class_map, std::string const& group) {
   policy_map_action_t action(policy_action_type_t::nexthop_group);
   action.nexthop_group_name_is(group);
   policy_map_rule_t rule({class_map, policy_feature_t::pbr});
   rule.action_set(action);
   return rule;
}

class PolicyMapTest : public SwitchTest {
 protected:
   PolicyMapMgr& mgr() { return device.policyMaps; }
   static policy_map_key_t keyOf(std::string const& name) { return {name, policy_feature_t::pbr}; }
   void set(std::string const& name) { mgr().policy_map_is(policy_map_t(keyOf(name))); }
   void apply(std::string const& name, bool on = true, acl_direction_t direction = acl_direction_t::in) {
      mgr().policy_map_apply(keyOf(name), intf_id_t("Ethernet1"), direction, on);
   }
   static auto namesOf(policy_map_iter_t const& it) { return walked(it, std::mem_fn(&policy_map_key_t::name)); }
   std::vector<std::pair<std::string, unsigned>> statuses(std::string const& name) {
      std::vector<std::pair<std::string, unsigned>> statuses;
      auto const told = mgr().hw_status(keyOf(name));
      for (auto const& [place, status] : told.intf_statuses()) {
         statuses.emplace_back(place.intf_id().to_string() + '/' + std::to_string(unsigned(place.direction())),
                               unsigned(status));
      }
      return statuses;
   }
   std::vector<std::string> delivered() {
      deliver();
      return recorder.take();
   }

   Recorder recorder{device.policyMaps};
};

TEST_F(PolicyMapTest, ASetIsAnnouncedAndThenItsSync) {
   policy_map_t map(keyOf("p"));
   map.rule_set(1, redirect("c", "g"));
   mgr().policy_map_is(map);
   set("q");
   EXPECT_THAT(recorder.seen, IsEmpty());  // never inside the call
   EXPECT_EQ(mgr().policy_map(keyOf("p")), map);
   EXPECT_THAT(delivered(), ElementsAre("p feature 1 set", "p feature 1 sync", "q feature 1 set", "q feature 1 sync"));
   map.rule_del(1);
   map.rule_set(2, redirect("d", "g"));
   mgr().policy_map_is(map);  // whole
   EXPECT_EQ(mgr().policy_map(keyOf("p")), map);
   mgr().policy_map_is(map);  // nothing new, but whoever wrote it waits for the sync
   EXPECT_THAT(delivered(), ElementsAre("p feature 1 set", "p feature 1 sync", "p feature 1 set", "p feature 1 sync"));
   apply("p");
   mgr().policy_map_del(keyOf("p"));
   mgr().policy_map_del(keyOf("p"));
   recorder.watch_all_policy_maps(false);
   set("q");
   EXPECT_THAT(delivered(), IsEmpty());
   EXPECT_FALSE(mgr().exists(keyOf("p")));
   EXPECT_THROW(mgr().policy_map(keyOf("p")), invalid_argument_error);
}

TEST_F(PolicyMapTest, ItHasAStatusWhereItIsAppliedAsLongAsItIs) {
   set("p");
   set("q");
   apply("p");
   apply("p", true, acl_direction_t::out);
   EXPECT_THAT(statuses("p"), IsEmpty());  // the dataplane's to tell
   deliver();
   EXPECT_THAT(statuses("p"), ElementsAre(Pair("Ethernet1/1", 1), Pair("Ethernet1/2", 1)));
   EXPECT_THAT(namesOf(mgr().policy_map_hw_status_iter()), ElementsAre("p"));
   set("p");
   apply("p", false, acl_direction_t::out);
   apply("q", false);
   deliver();
   EXPECT_THAT(statuses("p"), ElementsAre(Pair("Ethernet1/1", 1)));
   apply("p", false);
   deliver();
   EXPECT_THAT(namesOf(mgr().policy_map_hw_status_iter()), IsEmpty());
   EXPECT_THAT(statuses("unknown"), IsEmpty());

   apply("p");
   mgr().policy_map_del(keyOf("p"));
   set("p");  // another one, which is applied nowhere
   deliver();
   EXPECT_THAT(statuses("p"), IsEmpty());
   EXPECT_THAT(shown("show policy-map"), HasSubstr(R"("key":{"name":"p","feature":1},"rules":{},"applied":[])"));
}

TEST_F(PolicyMapTest, WhatCannotBeDoneIsRefusedAndChangesNothing) {
   set("");  // accepted and not kept
   EXPECT_THAT(namesOf(mgr().policy_map_iter()), IsEmpty());
   EXPECT_THROW(apply("unknown"), configuration_error);
   apply("unknown", false);  // already so
   set("p");
   EXPECT_THROW(mgr().policy_map_apply(keyOf("p"), {}, acl_direction_t::in, true), invalid_argument_error);
   acl_rule_ip_t raw;
   raw.source_addr_is({ip_addr_t("10.0.0.0"), 33});
   auto rule = redirect("c", "g");
   rule.raw_rule_is(raw);
   policy_map_t map(keyOf("p"));
   map.rule_set(1, rule);
   EXPECT_THROW(mgr().policy_map_is(map), invalid_range_error);
   EXPECT_THAT(delivered(), ElementsAre("p feature 1 set", "p feature 1 sync"));
   EXPECT_THAT(namesOf(mgr().policy_map_hw_status_iter()), IsEmpty());
   EXPECT_THAT(mgr().policy_map(keyOf("p")).rules(), IsEmpty());
}

TEST_F(PolicyMapTest, AResyncDeletesWhatWasNotSetAgainWhereverItIsApplied) {
   for (auto const* name : {"applied", "kept", "lost"}) set(name);
   apply("applied");
   apply("kept");
   mgr().resync_init();
   set("kept");
   set("new");
   apply("applied");  // does not count as a set
   mgr().resync_complete();
   deliver();
   EXPECT_THAT(namesOf(mgr().policy_map_iter()), ElementsAre("kept", "new"));
   EXPECT_THAT(namesOf(mgr().policy_map_hw_status_iter()), ElementsAre("kept"));
   mgr().resync_complete();
   EXPECT_TRUE(mgr().exists(keyOf("new")));
}

TEST_F(PolicyMapTest, TheWorldRaisesEventsAndStatuses) {
   world({"simulate policy-map p feature 1 config-set", "simulate policy-map p feature 3 sync",
          "simulate policy-map p feature 1 sync-fail \"no room\""});
   EXPECT_THAT(delivered(), ElementsAre("p feature 1 set", "p feature 3 sync", "p feature 1 failed: no room"));
   EXPECT_FALSE(mgr().exists(keyOf("p")));

   set("p");
   apply("p");
   world({"simulate policy-map p feature 1 hw-status Ethernet1 1 2",
          "simulate policy-map p feature 1 hw-status Ethernet2 out 3"});
   auto const told = ElementsAre(Pair("Ethernet1/1", 2), Pair("Ethernet2/2", 3));
   EXPECT_THAT(statuses("p"), told);
   deliver();  // not undone by the application, which is older
   EXPECT_THAT(statuses("p"), told);
   apply("p");
   mgr().policy_map_apply(keyOf("p"), intf_id_t("Ethernet2"), acl_direction_t::out, false);
   deliver();
   EXPECT_THAT(statuses("p"), ElementsAre(Pair("Ethernet1/1", 1)));
}

}  // namespace
}  // namespace velm::embedded
