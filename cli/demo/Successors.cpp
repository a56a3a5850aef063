#include <fmt/format.h>
#include <sys/wait.h>

#include <csignal>
#include <string>
#include <vector>

#include "cli/demo/Chapters.h"
#include "cli/demo/Checks.h"
#include "cli/demo/Controller.h"
#include "cli/demo/Narration.h"

namespace VelmSdkRpc::demo {
namespace {

void introduce(Controller& successor) {
   auto const found = successor.init(ourTag);
   expectSuccess(found.status(), "rpc_server_init of a successor");
   expect(found.ip_routes_exist() && found.nexthop_groups_exist() && found.mpls_routes_exist() &&
             found.nexthop_group_tunnels_exist(),
          "init tells of the routes, groups, labels and tunnels that are there");
}

void repeat(Controller& successor, Plan const& plan) {
   expectSuccess(successor.setGroups(plan.groups), plan.groups.size(), "nexthop_group_bulk in the resync");
   expectSuccess(successor.setRoutes(plan.routes), plan.routes.size(), "ip_route_bulk in the resync");
   expectSuccess(successor.setLabels(plan.labels), plan.labels.size(), "mpls_route_bulk in the resync");
   expectSuccess(successor.setTunnels(plan.tunnels), plan.tunnels.size(), "nexthop_group_tunnel_bulk in the resync");
}

void expectPlan(Stage& stage) {
   expectExactly(stage.view.routes(), stage.plan.routes, "routes");
   expectExactly(stage.view.labels(), stage.plan.labels, "labels");
   expectExactly(stage.view.tunnels(), stage.plan.tunnels, "tunnels");
   expectExactly(stage.view.statuses(pairPrefix), stage.plan.pairs, "pairs");
}

void aNewControllerTakesOver(Stage& stage) {
   stage.chapter("A new controller takes over (rpc_server_resync)");
   Controller successor(stage.agent.channel());
   introduce(successor);
   say("What is programmed outlives the controller that set it: traffic flows on while it is away. Its successor");
   say("learns from rpc_server_init what there is, opens a resync, and repeats what is to stay. It gives up the group");
   say("`{}` and the VRF `{}` with all that leads there, and most of the routes.", groupGivenUp, vrfGivenUp);

   expectSuccess(successor.startResync(), "RESYNC_START");
   auto const kept = successorsPlan(stage.plan);
   repeat(successor, kept);
   expectPlan(stage);
   expect(stage.view.groups().size() == stage.plan.groups.size(), "no group goes before the end of the resync");
   say("It repeats {} groups, {} routes, {} labels and {} tunnels. Until it closes the resync all that was there",
       kept.groups.size(), kept.routes.size(), kept.labels.size(), kept.tunnels.size());
   say("stays: {} groups, {} routes, {} labels and {} tunnels.", stage.plan.groups.size(), stage.plan.routes.size(),
       stage.plan.labels.size(), stage.plan.tunnels.size());

   expectSuccess(successor.endResync(), "RESYNC_END");
   stage.plan = kept;
   expectPlan(stage);
   show(tableOf(stage.view.routes()), tableOf(stage.awaitGroups(2)), tableOf(stage.view.labels()),
        tableOf(stage.view.tunnels()));
   say("Exactly what was repeated is left. The notes are no part of a resync, and stay.");
}

void theAgentStops(Stage& stage) {
   stage.chapter("The agent stops (SIGTERM)");
   auto const start = Clock::now();
   stage.agent.signal(SIGTERM);
   auto const ended = stage.agent.waitForEnd();
   Milliseconds const time = Clock::now() - start;
   expect(ended.has_value(), "the agent ends within 20 seconds of SIGTERM");
   int const status = ended.value_or(-1);
   expect(WIFEXITED(status) && WEXITSTATUS(status) == 0,
          fmt::format("the agent exits with status 0; waitpid says {:#x}", status));
   say("It shut down in order: exit status 0 after {:.0f} ms.", time.count());
}

std::vector<Pair> notesFor(Controller& successor, std::vector<Pair> const& left) {
   std::vector<std::string> keys;
   keys.reserve(left.size());
   for (auto const& pair : left) keys.push_back(pair.key);
   return successor.pairs(keys);
}

void theAgentComesBack(Stage& stage) {
   stage.chapter("The agent starts again and finds everything (--switch-state)");
   auto const start = Clock::now();
   stage.agent.restart();
   stage.awaitService();
   Milliseconds const time = Clock::now() - start;
   stage.view = SwitchView(stage.agent.channel());
   expectPlan(stage);
   auto const& plan = stage.plan;
   say("The switch keeps its state in a folder that outlives the process. {:.0f} ms after the start it serves again,",
       time.count());
   say("with the same {} routes, {} labels and {} tunnels, and has programmed the groups anew:", plan.routes.size(),
       plan.labels.size(), plan.tunnels.size());
   show(tableOf(stage.awaitGroups(1)));

   Controller successor(stage.agent.channel());
   say("To a new start of the agent every controller is a stranger: until rpc_server_init it programs nothing,");
   say("{}. But it hands out the notes that the first controller left:",
       statusName(successor.deleteLabel(plan.labels[0].label), pb::rpc_status_msg::STATUS_NOT_INITIALIZED));
   showExactly(notesFor(successor, plan.pairs), plan.pairs, "pairs");
   introduce(successor);
   say("Its rpc_server_init succeeds and tells of groups, routes, labels and tunnels.");
   stage.agent.signal(SIGTERM);
   expect(stage.agent.waitForEnd() == 0, "the agent exits with status 0");
}

}  // namespace

void playSuccessors(Stage& stage) {
   aNewControllerTakesOver(stage);
   theAgentStops(stage);
   theAgentComesBack(stage);
}

}  // namespace VelmSdkRpc::demo
