#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/byte_buffer.h>

#include <string>

#include "clients/velmctl/Catalogue.h"

/// Messages as gRPC carries them, whatever their type.
namespace VelmSdkRpc::ctl {

/// "/package.Service/method"
std::string pathOf(MethodDescriptor const& method);

grpc::ByteBuffer toWire(google::protobuf::Message const& message);
/// False if the bytes are no message of this type.
bool fromWire(grpc::ByteBuffer& bytes, google::protobuf::Message& message);

}  // namespace VelmSdkRpc::ctl
