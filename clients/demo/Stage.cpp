#include "clients/demo/Stage.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "clients/demo/Checks.h"
#include "clients/demo/Narration.h"

namespace VelmSdkRpc::demo {

void Stage::chapter(std::string_view title) { fmt::print("\n{}. {}\n", ++chapters, title); }

void Stage::awaitService() const {
   auto const deadline = Clock::now() + waitLimit;
   while (!agent.waitUntilServing(std::chrono::milliseconds(200))) {
      expect(!agent.waitForEnd({}), "the agent keeps running once it is started");
      expect(Clock::now() < deadline, "the agent serves within 20 seconds");
   }
}

void Stage::sayRouteCount() {
   auto const count = view.routeCount();
   expect(count == plan.routes.size(), fmt::format("the switch holds {} routes, not {}", plan.routes.size(), count));
   say("`show ip route summary` counts {}.", count);
}

std::vector<GroupState> Stage::awaitGroups(std::uint32_t version) {
   auto const asIsAsked = [version](GroupState const& state, Group const& group) {
      return state.name == group.name && state.hops == group.hops && state.active && state.version == version;
   };
   return awaitRows([&] { return view.groups(); },
                    [&](auto const& states) { return std::ranges::equal(states, plan.groups, asIsAsked); }, "groups");
}

std::vector<SessionState> Stage::awaitSessions() {
   std::vector<SessionState> asked;
   for (auto const& [key, minTx, multiplier, rtt, tracksIntf] : plan.sessions) {
      asked.push_back({key, minTx, multiplier, rtt, SessionStatus::up});
   }
   return awaitRows([&] { return view.sessions(); },
                    [&](auto const& states) { return std::ranges::is_permutation(states, asked); }, "sessions");
}

void Stage::expectPlan() {
   expectExactly(view.routes(), plan.routes, "routes");
   expectExactly(view.labels(), plan.labels, "labels");
   expectExactly(view.tunnels(), plan.tunnels, "tunnels");
   expectExactly(view.statuses(pairPrefix), plan.pairs, "pairs");
}

RedirectTables Stage::expectRedirects() {
   auto held = view.redirects();
   auto const asked = tablesFor(plan.redirects);
   expectExactly(held.policyRules, asked.policyRules, "rules of policy maps");
   expectExactly(held.classRules, asked.classRules, "rules of class maps");
   expectExactly(held.aclRules, asked.aclRules, "rules of ACLs");
   return held;
}

void Stage::awaitRedirects() {
   auto const asked = tablesFor(plan.redirects).policyRules;
   awaitRows([&] { return view.redirects().policyRules; }, [&](auto const& rules) { return rules == asked; },
             "rules of policy maps");
   expectRedirects();
}

void Stage::stopAgent() {
   agent.signal(SIGTERM);
   auto const ended = agent.waitForEnd();
   expect(ended.has_value(), "the agent ends within 20 seconds of SIGTERM");
   int const status = ended.value_or(-1);
   expect(WIFEXITED(status) && WEXITSTATUS(status) == 0,
          fmt::format("the agent exits with status 0; waitpid says {:#x}", status));
}

}  // namespace VelmSdkRpc::demo
