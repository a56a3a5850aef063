#include "bench/Client.h"

#include <chrono>
#include <exception>
#include <stdexcept>

namespace VelmSdkRpc::Bench {

void Client::runOne() {
   void* tag = nullptr;
   bool ok = false;
   auto const deadline = std::chrono::system_clock::now() + std::chrono::minutes(1);
   if (queue_.AsyncNext(&tag, &ok, deadline) != grpc::CompletionQueue::GOT_EVENT) {
      throw std::runtime_error("the client waits in vain");
   }
   static_cast<Operation*>(tag)->proceed(ok);
}

void Client::drainOne() noexcept {
   try {
      runOne();
   } catch (std::exception const&) {
      // Whoever is being destroyed has told of what came first.
   }
}

}  // namespace VelmSdkRpc::Bench
