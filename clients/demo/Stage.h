#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "clients/demo/Plan.h"
#include "clients/demo/SwitchView.h"
#include "clients/support/AgentProcess.h"

namespace VelmSdkRpc::demo {

/// What the chapters share. The story keeps what its controllers have asked for, as a controller does, and holds what
/// the switch shows against it.
struct Stage {
   explicit Stage(AgentProcess& process) : agent(process), view(process.channel()) {}

   /// Prints the number and the title of the next chapter.
   void chapter(std::string_view title);
   /// Waits until the agent, which has been started, serves.
   void awaitService() const;
   /// Tells how many routes there are, which are as many as were asked for.
   void sayRouteCount();
   /// The switch's groups once they are as asked for, active, and programmed so often.
   std::vector<GroupState> awaitGroups(std::uint32_t version);

   /// The switch's sessions once they are as asked for, and up.
   std::vector<SessionState> awaitSessions();
   /// The switch holds the routes, labels, tunnels and pairs asked for.
   void expectPlan();
   /// What it holds of the redirects, which is as asked for.
   RedirectTables expectRedirects();
   /// Waits for that, since redirects are removed a second behind the answer.
   void awaitRedirects();
   /// Stops the agent, which ends in order.
   void stopAgent();

   AgentProcess& agent;
   SwitchView view;
   Plan plan;
   int chapters = 0;
};

}  // namespace VelmSdkRpc::demo
