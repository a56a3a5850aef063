#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>

#include "bench/Client.h"

namespace VelmSdkRpc::Bench {

/// Calls of one unary method, one at a time.
template <class Stub, class Request, class Response>
class ClientCall final : public Operation {
 public:
   using Clock = std::chrono::steady_clock;
   using Reader = grpc::ClientAsyncResponseReader<Response>;
   /// The generated `Async<method>` member of the stub.
   using Method = std::unique_ptr<Reader> (Stub::*)(grpc::ClientContext*, Request const&, grpc::CompletionQueue*);

   ClientCall(Client& client, std::shared_ptr<grpc::Channel> const& channel, Method method)
      : client_(client), stub_(channel), method_(method) {}
   ~ClientCall() override {
      if (!answered_) context_->TryCancel();
      client_.drainUntil([this] { return answered_; });
   }

   /// The call before must have been answered. Whoever runs the client is thrown std::runtime_error if the call fails.
   void begin(Request const& request) {
      context_.emplace();
      answered_ = false;
      reader_ = (stub_.*method_)(&*context_, request, &client_.queue());
      reader_->Finish(&response_, &status_, this);
   }
   bool answered() const { return answered_; }
   /// Of the last call that was answered.
   Response const& response() const { return response_; }
   Clock::time_point answeredAt() const { return answeredAt_; }

   /// From the beginning to the answer.
   Response const& call(Request const& request) {
      begin(request);
      client_.runUntil([this] { return answered_; });
      return response_;
   }

   void proceed(bool /*ok*/) override {
      answeredAt_ = Clock::now();
      answered_ = true;
      if (!status_.ok()) throw std::runtime_error("a call failed: " + status_.error_message());
   }

 private:
   Client& client_;
   Stub stub_;
   Method const method_;
   std::optional<grpc::ClientContext> context_;
   std::unique_ptr<Reader> reader_;
   Response response_;
   grpc::Status status_;
   bool answered_ = true;
   Clock::time_point answeredAt_;
};

}  // namespace VelmSdkRpc::Bench
