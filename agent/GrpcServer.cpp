#include "agent/GrpcServer.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>

#include "agent/ConnectionBreaker.h"
#include "agent/GrpcLog.h"
#include "agent/Readiness.h"
#include "rpc/ServerEventLoop.h"
#include "rpc/Tracing.h"

// How a stop gets through. `stop` runs on the main thread, the loop on the server thread; either may be anywhere:
//
//   main thread      services stop: from here on nobody publishes, sends or starts anything
//                    Shutdown with a deadline: requests that wait come out of the queue as failed; calls that are being
//                    served have a quarter of a second, and are cancelled then
//                    wakeTag into the queue
//   server thread    every event only erases its handler
//                    wakeTag: shut the queue, take out what is left of it, return
//
// The queue is shut by the loop and not by `stop`, since gRPC ends the process for an operation that meets a closed
// queue, and only the loop knows that no handler is at work.

namespace VelmSdkRpc {

void GrpcServer::run() {
   if (phase_ == Phase::Stopped || !start()) return;
   // A stop during the start has found nothing to shut down and left it to us.
   auto expected = Phase::Assembled;
   if (!phase_.compare_exchange_strong(expected, Phase::Running)) shutDown();

   ServerEventLoop(*completionQueue_, services_).run();
   // The handlers left now are streams that had nothing outstanding when they were cancelled.
   for (auto const& service : services_) service->clearHandlers();
   trace(tracer_, 2, "stopped serving on {}", listenAddress_);
}

bool GrpcServer::start() {
   completionQueue_ = builder_.AddCompletionQueue();
   {
      GrpcErrors const errors;
      server_ = builder_.BuildAndStart();
      if (!server_) {
         fmt::print(stderr, "cannot listen on {}: {}\n", listenAddress_, errors.reason());
         return false;
      }
   }
   // Only now: a request can be posted to a server that is built, and no sooner.
   for (auto const& service : services_) {
      service->completionQueueIs(completionQueue_.get());
      service->startHandlers();
   }
   notifyReady();
   trace(tracer_, 2, "serving on {}", listenAddress_);
   return true;
}

void GrpcServer::stop() {
   // First, so that of all that the shutdown wakes nothing is processed.
   for (auto const& service : services_) service->stop();
   if (phase_.exchange(Phase::Stopped) == Phase::Running) shutDown();
}

void GrpcServer::shutDown() {
   notifyStopping();
   // Long enough for the answers that are on their way, that to whoever asked for the stop among them. Without a
   // deadline an open stream would hold the shutdown for ever.
   auto const grace = std::chrono::milliseconds(250);
   {
      // And so would a peer that has stopped reading its socket, for gRPC closes no connection within a write.
      ConnectionBreaker const breaker(2 * grace);
      server_->Shutdown(std::chrono::system_clock::now() + grace);
   }
   // Comes out of the queue after all that the shutdown has put in.
   wake_.Set(completionQueue_.get(), std::chrono::system_clock::now(), wakeTag());
}

}  // namespace VelmSdkRpc
