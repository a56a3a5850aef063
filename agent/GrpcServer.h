#pragma once

#include <grpc/grpc.h>
#include <grpcpp/alarm.h>
#include <grpcpp/grpcpp.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/qor/Assert.h"
#include "platform/velm/tracer.h"
#include "rpc/GrpcService.h"

namespace VelmSdkRpc {

/// The agent's services behind one port, one completion queue and one event loop.
///
/// Made and stopped on one thread, run on another. The services stay alive until the destructor, long after their calls
/// have ended, and may be called back by the SDK all that time; the server must not be running then. Unencrypted and
/// open to whoever reaches the port: the default address is the machine's own.
class GrpcServer {
 public:
   /// Takes each service over from its std::unique_ptr; a service's position is its index. The address is bound by run.
   template <class... S>
   explicit GrpcServer(std::string const& listenAddress, S&&... services) : listenAddress_(listenAddress) {
      // Never given back: when a client was slow to read, taking the library down can wait ten seconds for a poller.
      grpc_init();
      // A null pointer for the selected port: nobody asks which one it was.
      builder_.AddListeningPort(listenAddress, grpc::InsecureServerCredentials(), nullptr);
      (append(services), ...);
   }

   /// Binds the address and serves until stop. Returns at once if stop came first, and, with a line on stderr, if the
   /// address cannot be bound. Once only.
   void run();

   /// Ends all calls and makes run return, giving answers on their way a quarter of a second. Returns without waiting
   /// for run, and takes no lock. Harmless at any moment before, during and after run, and when called again.
   void stop();

 private:
   enum class Phase { Assembled, Running, Stopped };

   template <class Service>
   void append(std::unique_ptr<Service>& service) {
      Qor::assertThat(services_.size() < GrpcService::svc_max, "services_.size() < GrpcService::svc_max");
      service->selfRegister(services_.size(), builder_);
      services_.push_back(std::move(service));
   }
   // Builds the server and arms the handlers; false, with a line on stderr, if the address cannot be bound.
   bool start();
   // Ends the calls and wakes the loop to end itself. By whoever of run and stop comes second.
   void shutDown();

   // Destroyed from the last up: the services before the server, the server before its queue.
   std::string const listenAddress_;
   grpc::ServerBuilder builder_;
   std::unique_ptr<grpc::ServerCompletionQueue> completionQueue_;
   std::unique_ptr<grpc::Server> server_;
   std::vector<std::unique_ptr<GrpcService>> services_;
   velm::tracer const tracer_{"server"};
   grpc::Alarm wake_;
   // Hands queue and server from run, which makes them, to stop, which must not touch them sooner.
   std::atomic<Phase> phase_{Phase::Assembled};
};

}  // namespace VelmSdkRpc
