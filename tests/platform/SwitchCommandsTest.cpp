#include <rapidjson/document.h>

#include "tests/platform/Job.h"
#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct OptionHandler : agent_handler {
   using agent_handler::agent_handler;
   void on_agent_option(std::string const& name, std::string const& value) override {
      seen.push_back(name + '=' + value);
   }
   std::vector<std::string> seen;
};

class SwitchCommandsTest : public SwitchTest {
 protected:
   rapidjson::Document json(std::string const& command) {
      rapidjson::Document document;
      document.Parse(shown(command).c_str());
      EXPECT_FALSE(document.HasParseError()) << command;
      return document;
   }
};

TEST_F(SwitchCommandsTest, AnOptionIsToldHoweverItChanges) {
   OptionHandler handler(&device.agent);
   world({"agent option b \"2 3\"", "agent option a 1", "no agent option a", "no agent option never"});
   device.agent.status_set("s", "t");
   deliver();
   EXPECT_THAT(handler.seen, ElementsAre("b=2 3", "a=1", "a=", "never="));
   auto const agent = json("show agent");
   EXPECT_EQ(agent["options"].MemberCount(), 1);
   EXPECT_STREQ(agent["options"]["b"].GetString(), "2 3");
   EXPECT_STREQ(agent["statuses"]["s"].GetString(), "t");
   EXPECT_FALSE(agent["enabled"].GetBool());  // nobody has called on_initialized
   EXPECT_GE(agent["uptime"].GetDouble(), 0);
}

TEST_F(SwitchCommandsTest, WatchesAreShownByHandler) {
   EXPECT_EQ(shown("show switch watches"), R"({"watches":{}})");
   {
      intf_handler intfs(&device.intfs);
      intf_handler others(&device.intfs);
      nexthop_group_handler_v2 groups(&device.nexthopGroups);
      mpls_route_handler routes(&device.mplsRoutes);
      intfs.watch_intf(intf_id_t("Ethernet10"), true);
      intfs.watch_intf(intf_id_t("Ethernet2"), true);
      others.watch_intf(intf_id_t("Ethernet2"), true);
      others.watch_all_intfs(true);
      device.nexthopGroups.watch(&groups, "g", true);
      routes.watch_all_mpls_routes(true);
      EXPECT_EQ(shown("show switch watches"),
                R"({"watches":{"intf_handler":["all","Ethernet2","Ethernet10"],"mpls_route_handler":["all"],)"
                R"("nexthop_group_handler":["g"]}})");
      routes.watch_all_mpls_routes(false);
      EXPECT_THAT(shown("show switch watches"), Not(HasSubstr("mpls_route_handler")));
   }
   EXPECT_EQ(shown("show switch watches"), R"({"watches":{}})");
}

TEST_F(SwitchCommandsTest, TasksAreShownWithWhatTheyHaveDone) {
   Job job(
      Loom::TaskSchedulerRoot::findOrCreateScheduler(), 2, [] {}, "shown-task");
   job.taskWorkCountInc(7);
   job.taskWorkPendingIs(3);
   EXPECT_THAT(shown("show switch tasks"),
               HasSubstr(R"("shown-task":{"runs":0,"work_count":7,"work_pending":3,"priority":2,"quantum":0.02})"));
}

TEST_F(SwitchCommandsTest, CallsAreCountedByTheirCallerAlone) {
   device.mplsRoutes.mpls_route_status_iter();
   device.agent.status("x");
   device.agent.status("y");
   EXPECT_EQ(shown("show switch calls"), R"({"calls":{"agent_mgr.status":2,"mpls_route_mgr.mpls_route_status_iter":1,)"
                                         R"("vapi_mgr.run_show_cmd":1}})");
   world({"simulate fail nexthop_group_tunnel_mgr.nexthop_group_tunnel unsupported_error \"not now\" times 2"});
   EXPECT_THROW(device.nexthopGroupTunnels.nexthop_group_tunnel({}), unsupported_error);
   world({"simulate no fail"});
   EXPECT_THROW(device.nexthopGroupTunnels.nexthop_group_tunnel({}), invalid_argument_error);
}

}  // namespace
}  // namespace velm::embedded
