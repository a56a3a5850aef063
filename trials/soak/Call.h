#pragma once

#include <fmt/format.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <stdexcept>

#include "proto/velmsdk.grpc.pb.h"
#include "trials/soak/Halt.h"

namespace VelmSdkRpc::soak {

using Stub = pb::velmsdk_service::Stub;

inline void setDeadline(grpc::ClientContext& context) {
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::minutes(1));
}

/// Throws std::runtime_error for a status that is not OK.
inline void checkStatus(char const* what, grpc::Status const& status) {
   if (!status.ok()) {
      throw std::runtime_error(
         fmt::format("{}: status {} {}", what, static_cast<int>(status.error_code()), status.error_message()));
   }
}

/// Calls a unary method. Throws std::runtime_error if it does not end well.
template <class Service, class Request, class Response>
Response call(Service& stub, grpc::Status (Service::*method)(grpc::ClientContext*, Request const&, Response*),
              Request const& request) {
   grpc::ClientContext context;
   setDeadline(context);
   Response response;
   checkStatus(Request::descriptor()->name().c_str(), (stub.*method)(&context, request, &response));
   return response;
}

inline double millisecondsSince(Clock::time_point begin) {
   return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

}  // namespace VelmSdkRpc::soak
