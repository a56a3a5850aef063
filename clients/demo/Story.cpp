#include "clients/demo/Story.h"

#include <fmt/format.h>

#include "clients/demo/Chapters.h"
#include "clients/demo/Stage.h"

namespace VelmSdkRpc::demo {

void tellStory(AgentProcess& agent) {
   fmt::print(
      "VelmSdkRpc puts a switch's programming SDK behind one gRPC port: a controller anywhere on the network says\n"
      "where traffic goes, and the agent programs the switch. Here a small controller plays that through, with the\n"
      "agent at {} and a simulated switch inside it.\n",
      agent.address());
   Stage stage(agent);
   stage.awaitService();
   playFirstController(stage);
   playRedirects(stage);
   playSuccessors(stage);
   playMonitor(stage);
}

}  // namespace VelmSdkRpc::demo
