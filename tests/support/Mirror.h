#pragma once

#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace VelmSdkRpc {

/// A client's context with a deadline that no test outlives.
struct Context : grpc::ClientContext {
   explicit Context(std::chrono::milliseconds timeout = std::chrono::seconds(60)) {
      set_deadline(std::chrono::system_clock::now() + timeout);
   }
};

/// How a call ended, and what it answered.
template <class Response>
struct Outcome {
   grpc::Status status;
   Response response;
};

template <class Stub, class Request, class Response>
Outcome<Response> ask(Stub& stub, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
                      Request const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60)) {
   Context context(timeout);
   Outcome<Response> outcome;
   outcome.status = (stub.*method)(&context, request, &outcome.response);
   return outcome;
}

/// A stream that a test reads message by message.
template <class Response>
class Stream {
 public:
   template <class Stub, class Request>
   Stream(Stub& stub,
          std::unique_ptr<grpc::ClientReader<Response>> (Stub::*method)(grpc::ClientContext*, Request const&),
          Request const& request, std::chrono::milliseconds timeout = std::chrono::seconds(60))
      : context_(timeout), reader_((stub.*method)(&context_, request)) {}
   ~Stream() {
      cancel();
      finish();
   }
   Stream(Stream const&) = delete;
   Stream& operator=(Stream const&) = delete;

   /// The next message; none at the end.
   std::optional<Response> next() {
      Response response;
      return reader_->Read(&response) ? std::optional(std::move(response)) : std::nullopt;
   }
   std::vector<Response> rest() {
      std::vector<Response> responses;
      while (auto response = next()) responses.push_back(std::move(*response));
      return responses;
   }
   void cancel() { context_.TryCancel(); }
   grpc::Status finish() {
      if (!status_) status_ = reader_->Finish();
      return *status_;
   }

 private:
   Context context_;
   std::unique_ptr<grpc::ClientReader<Response>> reader_;
   std::optional<grpc::Status> status_;
};
template <class Stub, class Response, class Request>
Stream(Stub&, std::unique_ptr<grpc::ClientReader<Response>> (Stub::*)(grpc::ClientContext*, Request const&),
       Request const&, std::chrono::milliseconds = {}) -> Stream<Response>;

MATCHER_P2(Fails, code, text, "") { return arg.status.error_code() == code && arg.status.error_message() == text; }

}  // namespace VelmSdkRpc
