#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/byte_buffer.h>

#include <string>

/// Messages as gRPC carries them, whatever their type.
namespace VelmSdkRpc {

/// "/package.Service/method"
std::string pathOf(google::protobuf::MethodDescriptor const& method);

/// The bytes of a message, in memory of their own.
grpc::ByteBuffer toWire(google::protobuf::Message const& message);
/// False if the bytes are no message of this type. What the message held before is gone, but not its memory.
bool fromWire(grpc::ByteBuffer const& bytes, google::protobuf::Message& message);

}  // namespace VelmSdkRpc
