#pragma once

#include <fmt/format.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <stdexcept>

namespace VelmSdkRpc::demo {

/// Makes one unary call and returns its answer. Throws std::runtime_error if the call itself fails, the agent being
/// gone, say; what became of the request stands in the answer.
template <class Stub, class Request, class Response>
Response call(Stub& stub, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
              Request const& request) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(30));
   context.set_wait_for_ready(true);  // a busy machine may need more than one try to connect
   Response response;
   auto const status = (stub.*method)(&context, request, &response);
   if (!status.ok()) {
      throw std::runtime_error(fmt::format("{}: gRPC status {} {}", Request::descriptor()->full_name(),
                                           static_cast<int>(status.error_code()), status.error_message()));
   }
   return response;
}

}  // namespace VelmSdkRpc::demo
