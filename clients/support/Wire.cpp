#include "clients/support/Wire.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/impl/codegen/proto_utils.h>

namespace VelmSdkRpc {

using google::protobuf::Message;

std::string pathOf(google::protobuf::MethodDescriptor const& method) {
   return fmt::format("/{}/{}", method.service()->full_name(), method.name());
}

grpc::ByteBuffer toWire(Message const& message) {
   grpc::ByteBuffer bytes;
   bool own = false;
   auto const status = grpc::GenericSerialize<grpc::ProtoBufferWriter, Message>(message, &bytes, &own);
   GPR_ASSERT(status.ok());  // nothing but a lack of memory is in the way
   return bytes;
}

bool fromWire(grpc::ByteBuffer const& bytes, Message& message) {
   grpc::ProtoBufferReader reader(const_cast<grpc::ByteBuffer*>(&bytes));  // which only reads it
   return reader.status().ok() && message.ParseFromZeroCopyStream(&reader);
}

}  // namespace VelmSdkRpc
