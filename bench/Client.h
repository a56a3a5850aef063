#pragma once

#include <grpcpp/grpcpp.h>

namespace VelmSdkRpc::Bench {

/// Something of a client that is under way: its address is the tag of its events. It may throw; then it has no further
/// event outstanding.
class Operation {
 public:
   Operation() = default;
   Operation(Operation const&) = delete;
   Operation& operator=(Operation const&) = delete;
   virtual ~Operation() = default;
   virtual void proceed(bool ok) = 0;
};

/// A client of one thread, which carries all of its operations on while it waits for something: calls and streams,
/// without a hand-over between threads that would be measured as the server's time.
class Client {
 public:
   grpc::CompletionQueue& queue() { return queue_; }

   /// Throws what an operation throws, and std::runtime_error if nothing happens for a minute.
   template <class Done>
   void runUntil(Done const& done) {
      while (!done()) runOne();
   }
   /// The same for destructors: the end of what was cancelled, for which there is no one left to tell.
   template <class Done>
   void drainUntil(Done const& done) noexcept {
      while (!done()) drainOne();
   }

 private:
   void runOne();
   void drainOne() noexcept;

   grpc::CompletionQueue queue_;
};

}  // namespace VelmSdkRpc::Bench
