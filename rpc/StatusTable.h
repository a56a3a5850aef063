#pragma once

#include <grpcpp/grpcpp.h>

namespace VelmSdkRpc {

/// The status of the exception being handled, with what() as its text, cut to what a status can carry: the one place
/// that turns the SDK's errors into codes. An exception from outside std::exception ends the process, so that no
/// unknown type crosses the event loop.
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
