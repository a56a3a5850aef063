#pragma once

#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <string>

namespace VelmSdkRpc {

/// How a unary call ends whose request are these bytes, whatever they are.
inline grpc::Status rawCall(std::shared_ptr<grpc::Channel> const& channel, std::string const& method,
                            std::string const& bytes) {
   grpc::ClientContext context;
   context.set_wait_for_ready(true);
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
   grpc::Slice const slice(bytes);
   grpc::ByteBuffer const request(&slice, 1);
   grpc::ByteBuffer response;
   grpc::CompletionQueue queue;
   grpc::GenericStub stub(channel);
   auto const call = stub.PrepareUnaryCall(&context, method, request, &queue);
   call->StartCall();
   grpc::Status status;
   call->Finish(&response, &status, nullptr);
   void* tag = nullptr;
   bool ok = false;
   queue.Next(&tag, &ok);
   return status;
}

}  // namespace VelmSdkRpc
