#include "clients/support/SwitchConsole.h"

#include <fmt/format.h>

#include <chrono>
#include <stdexcept>

#include "clients/support/Call.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using Stub = remote::VapiMgrService::Stub;

constexpr CallOptions patient{.timeout = std::chrono::minutes(1), .waitsForAgent = false};

void throwIfRefused(remote::VapiResponse const& answer, std::string const& command) {
   if (!answer.success()) throw std::runtime_error(fmt::format("{}: {}", command, answer.error_message()));
}

}  // namespace

SwitchConsole::SwitchConsole(std::shared_ptr<grpc::Channel> const& channel)
   : stub_(remote::VapiMgrService::NewStub(channel)) {}

std::string SwitchConsole::show(std::string const& command) const {
   auto answer = runShow(command);
   throwIfRefused(answer, command);
   if (answer.responses_size() != 1) {
      throw std::runtime_error(fmt::format("{}: {} answers, not one", command, answer.responses_size()));
   }
   return std::move(*answer.mutable_responses(0));
}

rapidjson::Document SwitchConsole::showJson(std::string const& command) const {
   auto const text = show(command);
   rapidjson::Document document;
   document.Parse(text.data(), text.size());
   if (document.HasParseError() || !document.IsObject()) {
      throw std::runtime_error(fmt::format("{}: no JSON object: {}", command, text));
   }
   return document;
}

void SwitchConsole::configure(std::vector<std::string> const& commands) const {
   throwIfRefused(runConfig(commands), commands.empty() ? std::string("no command") : commands.front());
}

remote::VapiResponse SwitchConsole::runShow(std::string const& command) const {
   remote::RunShowCmdRequest request;
   request.set_command(command);
   return std::move(*call(*stub_, &Stub::run_show_cmd, request, patient).mutable_response());
}

remote::VapiResponse SwitchConsole::runConfig(std::vector<std::string> const& commands) const {
   remote::RunConfigCmdsRequest request;
   request.mutable_commands()->Assign(commands.begin(), commands.end());
   return std::move(*call(*stub_, &Stub::run_config_cmds, request, patient).mutable_response());
}

std::uint64_t SwitchConsole::callsOf(std::string const& operation) const {
   auto const answer = showJson("show switch calls");
   auto const calls = answer.FindMember("calls");
   if (calls == answer.MemberEnd() || !calls->value.IsObject()) throw std::runtime_error("show switch calls: no calls");
   auto const found = calls->value.FindMember(operation.c_str());
   return found == calls->value.MemberEnd() ? 0 : found->value.GetUint64();
}

}  // namespace VelmSdkRpc
