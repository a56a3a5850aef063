#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <stdexcept>
#include <string>

namespace VelmSdkRpc {

/// "UNAVAILABLE"; a number that gRPC does not list, in digits.
std::string statusName(grpc::StatusCode code);

/// A call that ended, or ended otherwise than it should: "UNAVAILABLE: failed to connect", after `what` if that is
/// given.
class CallError : public std::runtime_error {
 public:
   explicit CallError(grpc::Status status, std::string const& what = {});

   grpc::Status const& status() const { return status_; }

 private:
   grpc::Status status_;
};

/// Throws CallError for a status that is not OK. `what` says what was called.
inline void throwUnlessOk(grpc::Status const& status, std::string const& what) {
   if (!status.ok()) throw CallError(status, what);
}

struct CallOptions {
   std::chrono::milliseconds timeout = std::chrono::seconds(30);
   bool waitsForAgent = false;  // for one that does not listen yet, up to the timeout
};

/// Calls a unary method, a member of a generated stub, and gives its answer. Throws CallError, which names the
/// request's type, if the call fails; what became of the request is for the answer to say.
template <class Stub, class Request, class Response>
Response call(Stub& stub, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
              Request const& request, CallOptions const& options = {}) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + options.timeout);
   context.set_wait_for_ready(options.waitsForAgent);
   Response response;
   throwUnlessOk((stub.*method)(&context, request, &response), Request::descriptor()->full_name());
   return response;
}

}  // namespace VelmSdkRpc
