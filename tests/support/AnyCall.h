#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <grpcpp/generic/generic_stub.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Mirror.h"

namespace VelmSdkRpc {

/// How a call of any method ended, and the messages that it brought.
struct AnyOutcome {
   grpc::Status status;
   std::vector<std::unique_ptr<google::protobuf::Message>> responses;
};

/// Calls a method that is known by its descriptor alone. A stream that stays open ends with the deadline.
AnyOutcome anyCall(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
                   std::string const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60));

/// All services of the agent, and all their methods.
std::vector<google::protobuf::ServiceDescriptor const*> allServices();
std::vector<google::protobuf::MethodDescriptor const*> allMethods();

}  // namespace VelmSdkRpc
