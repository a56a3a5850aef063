#pragma once

#include <rapidjson/document.h>

#include <memory>
#include <string>

#include "bench/ClientCall.h"
#include "proto/remote/vapi.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// The switch's show commands.
class ShowLine {
 public:
   /// The client stays the caller's.
   ShowLine(Client& client, std::shared_ptr<grpc::Channel> const& channel);

   /// The answer, an object with that object in it. Throws std::runtime_error if the switch gives no such answer.
   rapidjson::Document run(std::string const& command, char const* object);

 private:
   ClientCall<velm::remote::VapiMgrService::Stub, velm::remote::RunShowCmdRequest, velm::remote::RunShowCmdResponse>
      call_;
};

}  // namespace VelmSdkRpc::Bench
