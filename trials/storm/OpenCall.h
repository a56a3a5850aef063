#pragma once

#include <grpcpp/generic/generic_stub.h>

#include <memory>
#include <string>

#include "trials/storm/Answers.h"

namespace VelmSdkRpc::storm {

/// One call of any method over a completion queue: started, its request written, read to its end, finished. One
/// operation at a time, whose tag is the call. It may be held before it is read, and cancelled at any time.
class OpenCall {
 public:
   OpenCall(std::size_t index, google::protobuf::MethodDescriptor const& method,
            std::unique_ptr<google::protobuf::Message> request);

   void start(grpc::GenericStub& stub, grpc::CompletionQueue& queue, bool held);
   /// Behind each of its events. False once the call has ended, and no event comes any more.
   bool advance(bool ok);
   /// Reads from now on.
   void release();
   /// Nothing once it is over.
   void cancel();

   std::size_t index() const { return index_; }
   bool cancelled() const { return cancelled_; }
   grpc::Status const& status() const { return status_; }
   std::string fault() const;

 private:
   enum class Step { start, write, held, read, finish };

   void read();
   void finish();
   void take();

   std::size_t const index_;
   google::protobuf::MethodDescriptor const& method_;
   std::unique_ptr<google::protobuf::Message> const request_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream_;
   Step step_ = Step::start;
   bool held_ = false;
   bool cancelled_ = false;
   bool garbled_ = false;
   grpc::ByteBuffer buffer_;
   std::size_t messages_ = 0;
   std::unique_ptr<google::protobuf::Message> last_;
   grpc::Status status_;
};

}  // namespace VelmSdkRpc::storm
