// The demo: starts the agent given as its argument on a free port and plays a controller against it.

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "clients/demo/Story.h"
#include "clients/support/AgentProcess.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::demo {
namespace {

using std::chrono::milliseconds;

// Ends the agent if it still runs, so that all that it wrote can be shown.
void showAgentOutput(AgentProcess& agent) {
   if (!agent.waitForEnd(milliseconds(200))) {
      agent.signal(SIGTERM);
      agent.waitForEnd(milliseconds(2000));
   }
   auto const text = agent.stderrText();
   fmt::print(stderr, "{}{}", text.empty() ? "The agent wrote nothing.\n" : "The agent wrote:\n", text);
}

int play(std::string const& program) {
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
      fmt::print(stderr, "\ndemo: failed: {}\n", e.what());
      showAgentOutput(agent);
      return 1;
   }
}

}  // namespace
}  // namespace VelmSdkRpc::demo

int main(int argc, char** argv) {
   if (argc != 2) {
      std::fputs("usage: demo AGENT\n", stderr);
      return 2;
   }
   try {
      return VelmSdkRpc::demo::play(argv[1]);
   } catch (std::exception const& e) {
      std::fprintf(stderr, "demo: failed: %s\n", e.what());
      return 1;
   }
}
