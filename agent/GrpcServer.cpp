#include "agent/GrpcServer.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>

#include "agent/ConnectionBreaker.h"
#include "agent/GrpcLog.h"
#include "agent/Readiness.h"
#include "rpc/ServerEventLoop.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc {

void GrpcServer::run() {
   if (phase_ == Phase::Stopped || !start()) return;
   // A stop during the start has found nothing to shut down and left it to us.
   auto expected = Phase::Assembled;
   if (!phase_.compare_exchange_strong(expected, Phase::Running)) shutDown();

   ServerEventLoop(*completionQueue_, services_).run();
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
   for (auto const& service : services_) {
      service->completionQueueIs(completionQueue_.get());
      service->startHandlers();
   }
   notifyReady();
   trace(tracer_, 2, "serving on {}", listenAddress_);
   return true;
}

void GrpcServer::stop() {
   for (auto const& service : services_) service->stop();
   if (phase_.exchange(Phase::Stopped) == Phase::Running) shutDown();
}

void GrpcServer::shutDown() {
   notifyStopping();
   // Without a deadline an open stream would hold it for ever.
   auto const grace = std::chrono::milliseconds(250);
   {
      // And so would a peer that has stopped reading its socket, for gRPC closes no connection within a write.
      ConnectionBreaker const breaker(2 * grace);
      server_->Shutdown(std::chrono::system_clock::now() + grace);
   }
   // The loop shuts the queue itself, behind whatever it is doing.
   wake_.Set(completionQueue_.get(), std::chrono::system_clock::now(), wakeTag());
}

}  // namespace VelmSdkRpc
