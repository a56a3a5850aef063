#include "cli/demo/Stage.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "cli/demo/Checks.h"
#include "cli/demo/Narration.h"

namespace VelmSdkRpc::demo {

void Stage::chapter(std::string_view title) { fmt::print("\n{}. {}\n", ++chapters, title); }

void Stage::awaitService() const {
   auto const deadline = Clock::now() + std::chrono::seconds(20);
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

// The switch programs groups behind the answer, so the table is read until it is as asked for.
std::vector<GroupState> Stage::awaitGroups(std::uint32_t version) {
   auto const asIsAsked = [version](GroupState const& state, Group const& group) {
      return state.name == group.name && state.hops == group.hops && state.active && state.version == version;
   };
   auto const deadline = Clock::now() + std::chrono::seconds(5);
   for (;;) {
      auto states = view.groups();
      if (std::ranges::equal(states, plan.groups, asIsAsked)) return states;
      expect(Clock::now() < deadline, fmt::format("the switch's groups become the {} asked for\n{}", plan.groups.size(),
                                                  tableOf(states).text(indent)));
   }
}

}  // namespace VelmSdkRpc::demo
