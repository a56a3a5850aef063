#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "clients/demo/Chapters.h"
#include "clients/demo/Checks.h"
#include "clients/demo/Controller.h"
#include "clients/demo/Narration.h"

namespace VelmSdkRpc::demo {
namespace {

/// A chapter a method.
class FirstController {
 public:
   explicit FirstController(Stage& stage) : stage_(stage), controller_(stage.agent.channel()) {}

   void play() {
      itIntroducesItself();
      groupsSayWherePacketsLeave();
      manyRoutesInOneRequest();
      oneRouteIsWithdrawn();
      aForeignTagIsRefused();
      theSwitchShowsWhatItHolds();
      labelsOfThreeKinds();
      oneLabelChangesItsKind();
      tunnelsThroughGroups();
      itLeavesNotes();
   }

 private:
   void itIntroducesItself() {
      stage_.chapter("The controller introduces itself (rpc_server_init)");
      auto const found = controller_.init(ourTag, policyMapName);
      expectSuccess(found.status(), "rpc_server_init");
      expect(!found.ip_routes_exist() && !found.nexthop_groups_exist() && !found.mpls_routes_exist() &&
                !found.nexthop_group_tunnels_exist() && !found.cbf_policy_map_exists(),
             "a fresh switch holds no routes, groups, labels, tunnels and redirects");
      say("It names the tag of its routes, {}, and a policy map for its redirects, `{}`. The answer tells what", ourTag,
          policyMapName);
      say("the switch holds already: nothing.");
   }

   void groupsSayWherePacketsLeave() {
      stage_.chapter("Three nexthop groups (nexthop_group_bulk)");
      say("A group says where packets leave, and with what MPLS label. Routes name a group, so that one change to a");
      say("group moves all of its routes. The group `spread` sends three packets north for each one south.");
      auto const& groups = stage_.plan.groups;
      expectSuccess(controller_.setGroups(groups), groups.size(), "nexthop_group_bulk");
      show(tableOf(stage_.awaitGroups(1)));
      say("The switch has programmed each of them once, and all have an interface that is up.");
   }

   void manyRoutesInOneRequest() {
      stage_.chapter("Ten thousand routes in one request (ip_route_bulk)");
      auto const& routes = stage_.plan.routes;
      auto const start = Clock::now();
      auto const answer = controller_.setRoutes(routes);
      Milliseconds const time = Clock::now() - start;
      expectSuccess(answer, routes.size(), "ip_route_bulk");
      say("{} routes in {:.1f} ms, {:.0f} routes/s, each with a status of its own in the answer: all succeeded.",
          routes.size(), time.count(), 1000.0 * static_cast<double>(routes.size()) / time.count());
      stage_.sayRouteCount();
   }

   void oneRouteIsWithdrawn() {
      auto& routes = stage_.plan.routes;
      auto const prefix = routes[1].prefix;
      stage_.chapter("One route is withdrawn (ip_route without a group)");
      expectSuccess(controller_.deleteRoute(prefix), "the deletion of " + prefix);
      std::erase_if(routes, [&](Route const& route) { return route.prefix == prefix; });
      expect(stage_.view.routes(prefix).empty(), "`show ip route " + prefix + "` is empty");
      say("{} is gone. To withdraw it again harms nothing, and says so: {}.", prefix,
          statusName(controller_.deleteRoute(prefix), pb::rpc_status_msg::STATUS_NOT_FOUND));
      stage_.sayRouteCount();
   }

   void aForeignTagIsRefused() {
      stage_.chapter("A route with a wrong tag is refused");
      Route const foreign{"10.200.0.0/16", stage_.plan.groups[0].name, ourTag + 1};
      auto const answer = controller_.setRoute(foreign);
      say("The tag keeps this controller's routes apart from those of others. With another one the answer is");
      say("{}, and in words:", statusName(answer, pb::rpc_status_msg::STATUS_ERROR));
      expect(!answer.debug_string().empty(), "a refusal gives its reason");
      fmt::print("\n{}{}{}\n\n", indent, indent, answer.debug_string());
      expect(stage_.view.routes(foreign.prefix).empty(), "the refused route is not in the table");
      stage_.sayRouteCount();
   }

   void theSwitchShowsWhatItHolds() {
      stage_.chapter("The switch's own table (run_show_cmd \"show ip route\")");
      say("The commands of the switch's command line run over the same port. They answer in JSON.");
      showExactly(stage_.view.routes(), stage_.plan.routes, "routes");
      say("These are the {} routes that the controller asked for, compared one by one.", stage_.plan.routes.size());
   }

   void labelsOfThreeKinds() {
      stage_.chapter("MPLS labels of three kinds in one request (mpls_route_bulk)");
      say("Packets that arrive with a label leave to one nexthop, their label swapped, kept under another or popped;");
      say("or they leave through a nexthop group; or they are looked up by address in a VRF, without the label.");
      auto const& labels = stage_.plan.labels;
      expectSuccess(controller_.setLabels(labels), labels.size(), "mpls_route_bulk");
      showExactly(stage_.view.labels(), labels, "labels");
      say("This is the switch's `show mpls route`: {} labels were asked for, and no other is there.", labels.size());
   }

   void oneLabelChangesItsKind() {
      stage_.chapter("A label has one kind at a time (mpls_route)");
      auto& labels = stage_.plan.labels;
      auto& moved = labels[0];
      moved.way = ToVrf{"blue"};
      expectSuccess(controller_.setLabel(moved), "mpls_route with a VRF");
      expectExactly(stage_.view.labels(), labels, "labels");
      auto const changed = moved.label;
      auto const deleted = labels[1].label;
      expectSuccess(controller_.deleteLabel(deleted), fmt::format("the deletion of label {}", deleted));
      labels.erase(labels.begin() + 1);
      say("The packets of label {} are now looked up in the VRF `blue`, and label {} is deleted.", changed, deleted);
      showExactly(stage_.view.labels(), labels, "labels");
      say("The switch has a table of its own for labels that lead to a VRF. Label {} is in that one alone, no longer",
          changed);
      say("a route. Label {} is unknown: to delete it again answers {}.", deleted,
          statusName(controller_.deleteLabel(deleted), pb::rpc_status_msg::STATUS_NOT_FOUND));
   }

   void tunnelsThroughGroups() {
      stage_.chapter("Tunnels that lead through groups (nexthop_group_tunnel_bulk)");
      auto& tunnels = stage_.plan.tunnels;
      auto const created = tunnels.size();
      expectSuccess(controller_.setTunnels(tunnels), created, "nexthop_group_tunnel_bulk");
      expectExactly(stage_.view.tunnels(), tunnels, "tunnels");
      auto& changed = tunnels[0];
      auto const metric = std::exchange(changed.metric, 50);
      expectSuccess(controller_.setTunnels({changed}), 1, "the change of a metric");
      expectExactly(stage_.view.tunnels(), tunnels, "tunnels");
      auto const deleted = tunnels[1].endpoint;
      expectSuccess(controller_.deleteTunnels({deleted}), 1, "the deletion of a tunnel");
      say("{} tunnels are created. Then the metric of {} goes from {} to {}, and {} is deleted.", created,
          changed.endpoint, metric, changed.metric, deleted);
      tunnels.erase(tunnels.begin() + 1);
      showExactly(stage_.view.tunnels(), tunnels, "tunnels");
      say("After each step the switch's `show nexthop-group tunnel` was as asked for.");
   }

   void itLeavesNotes() {
      stage_.chapter("Notes for whoever comes next (rpc_server_state)");
      say("The switch keeps pairs of text for its controllers, and does not read them.");
      auto const& pairs = stage_.plan.pairs;
      expectSuccess(controller_.changePairs(pairs), "rpc_server_state");
      showExactly(stage_.view.statuses(pairPrefix), pairs, "pairs");
      say("They are in `show agent`, where the agent has its own statuses too.");
   }

   Stage& stage_;
   Controller controller_;
};

}  // namespace

void playFirstController(Stage& stage) {
   stage.plan = firstPlan();
   FirstController(stage).play();
}

}  // namespace VelmSdkRpc::demo
