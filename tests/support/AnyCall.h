#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace VelmSdkRpc {

using AnyMessagePtr = std::unique_ptr<google::protobuf::Message>;

AnyMessagePtr newMessage(google::protobuf::Descriptor const& type);
/// The message of a text form. Throws std::invalid_argument if it is none.
AnyMessagePtr messageOf(google::protobuf::Descriptor const& type, std::string const& text);

/// A call of a method that is known by its descriptor alone; its messages are read one by one. Ends with this object.
/// Used by one thread.
class AnyStream {
 public:
   AnyStream(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
             google::protobuf::Message const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60));
   /// With a request in its text form.
   AnyStream(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
             std::string const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60))
      : AnyStream(channel, method, *messageOf(*method.input_type(), request), timeout) {}
   ~AnyStream();
   AnyStream(AnyStream const&) = delete;
   AnyStream& operator=(AnyStream const&) = delete;

   /// Null at the end.
   AnyMessagePtr next();
   void cancel() { context_.TryCancel(); }
   /// How it has ended.
   grpc::Status const& status() const { return status_; }
   /// Whether a message was none of the method's.
   bool garbled() const { return garbled_; }

 private:
   bool await();

   google::protobuf::MethodDescriptor const& method_;
   grpc::CompletionQueue queue_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> call_;
   bool ended_ = false;
   bool garbled_ = false;
   grpc::Status status_;
};

/// How a call of any method ended, and the messages that it brought.
struct AnyOutcome {
   grpc::Status status;
   std::vector<AnyMessagePtr> responses;
};

/// Makes such a call and reads it to its end; a stream that stays open ends with the deadline.
AnyOutcome anyCall(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
                   std::string const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60));

/// All services of the agent, the native one first, and all their methods.
std::vector<google::protobuf::ServiceDescriptor const*> allServices();
std::vector<google::protobuf::MethodDescriptor const*> allMethods();
/// By "Service.method"; null if there is none.
google::protobuf::MethodDescriptor const* methodNamed(std::string const& name);

}  // namespace VelmSdkRpc
