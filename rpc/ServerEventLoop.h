#pragma once

#include <grpcpp/grpcpp.h>

#include <memory>
#include <span>

#include "rpc/GrpcService.h"

namespace VelmSdkRpc {

/// Takes the events off the queue one by one and gives each to the handler whose id it bears. Everything about a call
/// happens in here, on one thread: two calls never run at once, and a slow one holds up the others.
///
/// Whoever stops the server sets `stopping` of the services, shuts the server down and then sends wakeTag through the
/// queue. What was under way then fails, event by event, and takes its handler with it.
class ServerEventLoop {
 public:
   ServerEventLoop(grpc::ServerCompletionQueue& queue, std::span<std::unique_ptr<GrpcService> const> services)
      : queue_(queue), services_(services) {}

   /// Returns once the queue is shut and drained. What leaves a handler's process leaves here too.
   void run();

 private:
   void handleEvent(OpaqueId id, bool ok);
   static void startCall(GrpcService& service, RequestHandler& handler);

   grpc::ServerCompletionQueue& queue_;
   std::span<std::unique_ptr<GrpcService> const> const services_;
};

}  // namespace VelmSdkRpc
