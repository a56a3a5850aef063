// The demo: starts the agent given as its argument on a free port and plays a controller against it, from the agent's
// start to its stop. It tells on stdout what it does and why. Every claim is checked: the first that does not hold ends
// it with status 1, and with what the agent wrote.

#include <csignal>
#include <cstdio>
#include <exception>

#include "clients/demo/Stage.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::demo {
namespace {

void tellStory(AgentProcess& agent) {
   fmt::print(
      "VelmSdkRpc puts a switch's programming SDK behind one gRPC port: a controller anywhere on the network says\n"
      "where traffic goes, and the agent programs the switch. Here a small controller plays that through, with the\n"
      "agent at {} and a simulated switch inside it.\n",
      agent.address());
   Stage stage{.agent = agent, .controller = Controller(agent)};
   stage.awaitService();
   for (auto const part : {programAll, takeOver, testTheWays, startAgain, watchSessions}) part(stage);
}

int play(char const* program) {
   // A line of trace for each route would be most of the work; level 0 is errors and what happens once.
   TempFolder const state;
   AgentProcess agent({.program = program,
                       .listen = freeAddress(),
                       .arguments = {"--trace", "VelmSdkRpc/0", "--switch-state", state.path()}});
   try {
      tellStory(agent);
      return 0;
   } catch (std::exception const& e) {
      std::fflush(stdout);
      if (!agent.waitForEnd({})) agent.signal(SIGTERM);
      agent.waitForEnd(std::chrono::seconds(2));  // so that all that it wrote can be shown
      fmt::print(stderr, "\ndemo: failed: {}\nThe agent wrote:\n{}\n", e.what(), agent.stderrText());
      return 1;
   }
}

}  // namespace
}  // namespace VelmSdkRpc::demo

int main(int argc, char** argv) {
   if (argc == 2) return VelmSdkRpc::demo::play(argv[1]);
   std::fputs("usage: demo AGENT\n", stderr);
   return 2;
}
