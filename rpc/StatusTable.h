#pragma once

#include <grpcpp/grpcpp.h>

namespace VelmSdkRpc {

/// The status of the exception being handled, with what() as its text, cut to what a status can carry. The one place
/// that turns the SDK's errors into codes, for all mirrors, unary and bulk:
///
///   velm::invalid_range_error       OUT_OF_RANGE
///   velm::invalid_argument_error    INVALID_ARGUMENT
///   velm::configuration_error       FAILED_PRECONDITION, the agent that is not configured included
///   velm::unsupported_error         UNIMPLEMENTED
///   velm::error                     INTERNAL
///   std::exception                  UNKNOWN
///
/// Anything else ends the process, so that no unknown type crosses the event loop.
grpc::Status statusOfCurrentException() noexcept;

/// Runs `fn` and reports how it went. What `fn` holds is released before a failure's status is built.
template <class F>
grpc::Status guarded(F&& fn) {
   try {
      fn();
   } catch (...) {
      return statusOfCurrentException();
   }
   return grpc::Status::OK;
}

}  // namespace VelmSdkRpc
