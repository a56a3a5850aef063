#include "remote/VapiService.h"

#include <string>
#include <vector>

#include "convert/Vapi.h"
#include "platform/velm/vapi.h"
#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = VapiService::AsyncService;

class RunShowCommandHandler : public GenericRequestHandler<RunShowCommandHandler, velm::remote::RunShowCmdRequest,
                                                           velm::remote::RunShowCmdResponse, VapiService, false> {
 public:
   using GenericRequestHandler::GenericRequestHandler;
   static constexpr auto requestFn() { return &AsyncService::Requestrun_show_cmd; }
   void process() override {
      respond([this] {
         auto result = service().mgr().run_show_cmd(request().command());
         velm::remote::RunShowCmdResponse response;
         *response.mutable_response() = types::convert(result);
         return response;
      });
   }
};

class RunConfigCommandHandler
   : public GenericRequestHandler<RunConfigCommandHandler, velm::remote::RunConfigCmdsRequest,
                                  velm::remote::RunConfigCmdsResponse, VapiService, false> {
 public:
   using GenericRequestHandler::GenericRequestHandler;
   static constexpr auto requestFn() { return &AsyncService::Requestrun_config_cmds; }
   void process() override {
      respond([this] {
         std::vector<std::string> const commands(request().commands().begin(), request().commands().end());
         auto result = service().mgr().run_config_cmds(commands);
         velm::remote::RunConfigCmdsResponse response;
         *response.mutable_response() = types::convert(result);
         return response;
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
