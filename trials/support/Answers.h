#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <grpcpp/grpcpp.h>

#include <string>

namespace VelmSdkRpc::trials {

/// How a call went, as its client saw it.
struct CallStory {
   google::protobuf::MethodDescriptor const& method;
   google::protobuf::Message const& request;
   bool givenUp = false;  // by the client, which may have come too late
   std::size_t messages = 0;
   google::protobuf::Message const* last = nullptr;  // null if there was none
   grpc::Status status{};
};

/// Whether the agent keeps calls of the method, and so their connections, for as long as it lives: those of
/// bulk_description_is, which answers its first call and no other.
bool isNeverReleased(google::protobuf::MethodDescriptor const& method);

/// Whether the method's calls stay open until their client gives them up.
bool staysOpen(google::protobuf::MethodDescriptor const& method);

/// Why the call went as none may; empty if all is well.
std::string faultOf(CallStory const& story);

}  // namespace VelmSdkRpc::trials
