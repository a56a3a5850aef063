#include "remote/VapiService.h"

#include <string>
#include <vector>

#include "convert/Vapi.h"
#include "platform/velm/vapi.h"
#include "rpc/NamedRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = VapiService::AsyncService;

class RunShowCommandHandler
   : public NamedRequestHandler<RunShowCommandHandler, &AsyncService::Requestrun_show_cmd, VapiService> {
 public:
   using NamedRequestHandler::NamedRequestHandler;
   void process() override {
      answer([this](Response& response) {
         auto result = service().mgr().run_show_cmd(request().command());
         *response.mutable_response() = types::convert(result);
      });
   }
};

class RunConfigCommandHandler
   : public NamedRequestHandler<RunConfigCommandHandler, &AsyncService::Requestrun_config_cmds, VapiService> {
 public:
   using NamedRequestHandler::NamedRequestHandler;
   void process() override {
      answer([this](Response& response) {
         std::vector<std::string> const commands(request().commands().begin(), request().commands().end());
         auto result = service().mgr().run_config_cmds(commands);
         *response.mutable_response() = types::convert(result);
      });
   }
};

}  // namespace

VapiService::VapiService(velm::vapi_mgr* mgr) : GrpcService("vapi"), mgr_(mgr) {}

void VapiService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void VapiService::startHandlers() {
   arm<RunShowCommandHandler>(*this);
   arm<RunConfigCommandHandler>(*this);
}

}  // namespace VelmSdkRpc
