#include "clients/demo/CommandLine.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

#include "clients/demo/Call.h"

namespace VelmSdkRpc::demo {
namespace {

using Stub = velm::remote::VapiMgrService::Stub;

std::string answerOf(velm::remote::VapiResponse& response, std::string const& command) {
   if (!response.success() || response.responses_size() != 1) {
      throw std::runtime_error(fmt::format("{}: {}", command, response.error_message()));
   }
   return std::move(*response.mutable_responses(0));
}

}  // namespace

CommandLine::CommandLine(std::shared_ptr<grpc::Channel> const& channel)
   : stub_(velm::remote::VapiMgrService::NewStub(channel)) {}

std::string CommandLine::show(std::string const& command) {
   velm::remote::RunShowCmdRequest request;
   request.set_command(command);
   auto answer = call(*stub_, &Stub::run_show_cmd, request);
   return answerOf(*answer.mutable_response(), command);
}

void CommandLine::configure(std::string const& command) {
   velm::remote::RunConfigCmdsRequest request;
   request.add_commands(command);
   auto answer = call(*stub_, &Stub::run_config_cmds, request);
   answerOf(*answer.mutable_response(), command);
}

}  // namespace VelmSdkRpc::demo
