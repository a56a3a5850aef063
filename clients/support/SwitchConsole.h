#pragma once

#include <grpcpp/grpcpp.h>
#include <rapidjson/document.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "proto/remote/vapi.grpc.pb.h"

namespace VelmSdkRpc {

/// The switch's command line, by the agent's service for it. Each call waits a minute at most. Thread-safe.
class SwitchConsole {
 public:
   explicit SwitchConsole(std::shared_ptr<grpc::Channel> const& channel);

   /// The JSON that a show command answers, as text or read. Throws CallError if there is no answer, and
   /// std::runtime_error, which tells the command and why, if it is refused or the answer is no JSON object.
   std::string show(std::string const& command) const;
   rapidjson::Document showJson(std::string const& command) const;

   /// Runs configuration commands in one call, up to the first that fails. Throws as show does.
   void configure(std::vector<std::string> const& commands) const;

   /// The answers as they came, refusals among them. Throw CallError if there is none.
   velm::remote::VapiResponse runShow(std::string const& command) const;
   velm::remote::VapiResponse runConfig(std::vector<std::string> const& commands) const;

   /// How often an operation of the switch's SDK, "manager.operation", was called since the agent's start.
   std::uint64_t callsOf(std::string const& operation) const;

 private:
   std::unique_ptr<velm::remote::VapiMgrService::Stub> stub_;
};

}  // namespace VelmSdkRpc
