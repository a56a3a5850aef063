#include "remote/VapiService.h"

#include <string>
#include <vector>

#include "convert/Vapi.h"
#include "remote/MirrorMethods.h"

// Two rows. All that a command does is the switch's; here a text goes in and an answer comes out, under one hold of the
// SDK lock.
namespace VelmSdkRpc {
namespace {

using AsyncService = VapiService::AsyncService;

struct RunShowCommandHandler : Method<&AsyncService::Requestrun_show_cmd> {
   static void call(VapiService& service, Request const& request, Response& response) {
      auto result = service.mgr().run_show_cmd(request.command());
      *response.mutable_response() = types::convert(result);
   }
};

struct RunConfigCommandHandler : Method<&AsyncService::Requestrun_config_cmds> {
   static void call(VapiService& service, Request const& request, Response& response) {
      std::vector<std::string> const commands(request.commands().begin(), request.commands().end());
      auto result = service.mgr().run_config_cmds(commands);
      *response.mutable_response() = types::convert(result);
   }
};

}  // namespace

void VapiService::startHandlers() {
   registerAdapter<UnaryRequestHandler, RunShowCommandHandler>(*this);
   registerAdapter<UnaryRequestHandler, RunConfigCommandHandler>(*this);
}

}  // namespace VelmSdkRpc
