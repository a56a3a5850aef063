#pragma once

#include <grpcpp/grpcpp.h>

#include <memory>
#include <string>

#include "proto/remote/vapi.grpc.pb.h"

namespace VelmSdkRpc::demo {

/// The switch's command line, over gRPC. Throws std::runtime_error for a command that fails.
class CommandLine {
 public:
   explicit CommandLine(std::shared_ptr<grpc::Channel> const& channel);

   /// The JSON that a `show` command answers.
   std::string show(std::string const& command);
   void configure(std::string const& command);

 private:
   std::unique_ptr<velm::remote::VapiMgrService::Stub> stub_;
};

}  // namespace VelmSdkRpc::demo
