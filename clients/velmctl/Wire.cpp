#include "clients/velmctl/Wire.h"

#include <fmt/format.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/impl/codegen/proto_utils.h>

namespace VelmSdkRpc::ctl {

using google::protobuf::Message;

std::string pathOf(MethodDescriptor const& method) {
   return fmt::format("/{}/{}", method.service()->full_name(), method.name());
}

grpc::ByteBuffer toWire(Message const& message) {
   grpc::ByteBuffer bytes;
   bool own = false;
   auto const status = grpc::GenericSerialize<grpc::ProtoBufferWriter, Message>(message, &bytes, &own);
   GPR_ASSERT(status.ok());  // nothing but a lack of memory is in the way
   return bytes;
}

bool fromWire(grpc::ByteBuffer& bytes, Message& message) {
   return grpc::GenericDeserialize<grpc::ProtoBufferReader, Message>(&bytes, &message).ok();
}

}  // namespace VelmSdkRpc::ctl
