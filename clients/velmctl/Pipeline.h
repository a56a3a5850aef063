#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

#include "clients/velmctl/Connection.h"

namespace VelmSdkRpc::ctl {

/// Many calls of one unary method over one connection, some of them outstanding at any time.
class Pipeline {
 public:
   struct Reply {
      std::size_t number;  // the how manieth call, from 0
      grpc::Status status;
      grpc::ByteBuffer response;  // empty unless the status is OK
      std::chrono::nanoseconds latency;
   };

   Pipeline(Connection& connection, MethodDescriptor const& method, std::size_t outstanding, Timeout timeout);

   /// Makes calls with what `next` gives until it gives nothing, or a reply is not OK, or the interrupt is raised; then
   /// waits for those outstanding. Replies come as they are complete, on this thread.
   void run(std::function<std::optional<grpc::ByteBuffer>()> const& next, std::function<void(Reply&)> const& onReply);

 private:
   Connection& connection_;
   MethodDescriptor const& method_;
   std::size_t outstanding_;
   Timeout timeout_;
};

}  // namespace VelmSdkRpc::ctl
