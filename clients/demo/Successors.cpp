#include <fmt/format.h>

#include <algorithm>
#include <ranges>
#include <string>
#include <vector>

#include "clients/demo/Chapters.h"
#include "clients/demo/Checks.h"
#include "clients/demo/Controller.h"
#include "clients/demo/Narration.h"
#include "clients/demo/Resync.h"
#include "clients/demo/SessionListener.h"

namespace VelmSdkRpc::demo {
namespace {

void introduce(Controller& successor) {
   auto const found = successor.init(ourTag, policyMapName);
   expectSuccess(found.status(), "rpc_server_init of a successor");
   expect(found.ip_routes_exist() && found.nexthop_groups_exist() && found.mpls_routes_exist() &&
             found.nexthop_group_tunnels_exist() && found.cbf_policy_map_exists(),
          "init tells of the routes, groups, labels, tunnels and redirects that are there");
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
   stage.expectPlan();
   stage.expectRedirects();
   expect(stage.view.groups().size() == stage.plan.groups.size(), "no group goes before the end of the resync");
   say("It repeats {} groups, {} routes, {} labels and {} tunnels. Until it closes the resync all that was there",
       kept.groups.size(), kept.routes.size(), kept.labels.size(), kept.tunnels.size());
   say("stays: {} groups, {} routes, {} labels and {} tunnels.", stage.plan.groups.size(), stage.plan.routes.size(),
       stage.plan.labels.size(), stage.plan.tunnels.size());

   expectSuccess(successor.endResync(), "RESYNC_END");
   stage.plan = kept;
   stage.expectPlan();
   show(tableOf(stage.view.routes()), tableOf(stage.awaitGroups(2)), tableOf(stage.view.labels()),
        tableOf(stage.view.tunnels()));
   say("Exactly what was repeated is left. The notes are no part of a resync, and stay.");
   stage.awaitRedirects();
   say("A second later the redirect of `{}` has gone too, and the other stands.", groupGivenUp);
}

void sessionsTestTheWays(Stage& stage) {
   stage.chapter("Sessions that test the ways out (sbfd_echo_session_bulk)");
   say("A session sends packets down a way, on labels that bring them back, and so notices when a way is broken. The");
   say("controller reads on a stream how they do. It opens that first, for the stream tells only what is new.");
   auto const channel = stage.agent.channel();
   SessionListener listener(channel);
   Controller controller(channel);
   auto& sessions = stage.plan.sessions;
   sessions = firstSessions();
   auto const start = Clock::now();
   expectSuccess(controller.setSessions(sessions), sessions.size(), "sbfd_echo_session_bulk");
   auto const times = listener.expectEach(keysOf(sessions), SessionStatus::up);
   Milliseconds const time = std::ranges::max(std::views::values(times)) - start;
   stage.awaitSessions();
   show(tableOf(sessions));
   say("The stream told that each of the {} came up, the last one {:.0f} ms after the request.", times.size(),
       time.count());
}

void theAgentStops(Stage& stage) {
   stage.chapter("The agent stops (SIGTERM)");
   auto const start = Clock::now();
   stage.stopAgent();
   Milliseconds const time = Clock::now() - start;
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
   stage.expectPlan();
   stage.expectRedirects();
   auto const& plan = stage.plan;
   say("The switch keeps its state in a folder that outlives the process. {:.0f} ms after the start it serves again,",
       time.count());
   say("with the same {} routes, {} labels and {} tunnels, and the redirect. It has programmed the groups anew, and",
       plan.routes.size(), plan.labels.size(), plan.tunnels.size());
   say("the {} sessions are up again:", plan.sessions.size());
   show(tableOf(stage.awaitGroups(1)), tableOf(stage.awaitSessions()));

   Controller successor(stage.agent.channel());
   say("To a new start of the agent every controller is a stranger: until rpc_server_init it programs nothing,");
   say("{}. But it hands out the notes that the first controller left:",
       statusName(successor.deleteLabel(plan.labels[0].label), pb::rpc_status_msg::STATUS_NOT_INITIALIZED));
   showExactly(notesFor(successor, plan.pairs), plan.pairs, "pairs");
   introduce(successor);
   say("Its rpc_server_init succeeds and tells of groups, routes, labels, tunnels and redirects.");
}

}  // namespace

void playSuccessors(Stage& stage) {
   aNewControllerTakesOver(stage);
   sessionsTestTheWays(stage);
   theAgentStops(stage);
   theAgentComesBack(stage);
}

}  // namespace VelmSdkRpc::demo
