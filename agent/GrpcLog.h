#pragma once

#include <string>

namespace VelmSdkRpc {

/// From here on what the gRPC library has to say becomes trace lines of the facility "grpc": errors at level 0, the
/// rest, which GRPC_VERBOSITY lets through, at level 1. Once, before the first use of gRPC.
void traceGrpcLog();

/// While one exists, the errors that gRPC reports on this thread are kept here and not traced: for a caller that tells
/// them in words of its own. One at a time on a thread, and it ends on the thread that made it.
class GrpcErrors {
 public:
   GrpcErrors();
   ~GrpcErrors();
   GrpcErrors(GrpcErrors const&) = delete;
   GrpcErrors& operator=(GrpcErrors const&) = delete;

   /// Why the system refused, if it did ("Address already in use"), else all that gRPC said.
   std::string reason() const;

 private:
   std::string text_;
};

}  // namespace VelmSdkRpc
