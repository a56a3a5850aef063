#pragma once

#include <google/protobuf/arena.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/impl/codegen/proto_utils.h>

#include <array>
#include <cstddef>
#include <span>

namespace VelmSdkRpc {

/// The request of a call, and the arena on which it lives, together with an answer that takes shape while the switch's
/// tables grow: they come and go as one, apart from the heap of the tables. A request of ordinary size fits into the
/// block inside this object.
///
/// gRPC parses into it, again and again until a call comes whose request can be parsed: one that cannot is answered by
/// the library, which posts the same request anew and tells nobody. Such a call must leave nothing behind, and on an
/// arena a message that is merely cleared does.
template <class Request>
class IncomingRequest {
 public:
   IncomingRequest() = default;
   IncomingRequest(IncomingRequest const&) = delete;
   IncomingRequest& operator=(IncomingRequest const&) = delete;

   /// Only once a call has come.
   Request const& message() const { return *message_; }

   /// An empty message that lives as long as this object. What is cleared or replaced in it is given back only then.
   template <class Message>
   Message& make() {
      return *google::protobuf::Arena::CreateMessage<Message>(&arena_);
   }

   /// For gRPC, before the call has come. Leaves a request that can be read, or nothing.
   grpc::Status parse(grpc::ByteBuffer* payload) {
      message_ = &make<Request>();
      auto status = grpc::SerializationTraits<Request>::Deserialize(payload, message_);
      if (!status.ok()) {
         message_ = nullptr;
         arena_.Reset();
      }
      return status;
   }

 private:
   static google::protobuf::ArenaOptions options(std::span<char> firstBlock) {
      google::protobuf::ArenaOptions options;
      options.initial_block = firstBlock.data();
      options.initial_block_size = firstBlock.size();
      options.start_block_size = 4096;
      options.max_block_size = 32768;
      return options;
   }

   // Larger requests, bulks above all, go on in blocks from the heap.
   alignas(std::max_align_t) std::array<char, 768> firstBlock_;
   google::protobuf::Arena arena_{options(firstBlock_)};
   Request* message_ = nullptr;  // on the arena
};

}  // namespace VelmSdkRpc

/// How gRPC comes to call parse.
template <class Request>
class grpc::SerializationTraits<VelmSdkRpc::IncomingRequest<Request>, void> {
 public:
   static Status Deserialize(ByteBuffer* payload, VelmSdkRpc::IncomingRequest<Request>* request) {
      return request->parse(payload);
   }
};
