#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "trials/storm/Findings.h"
#include "trials/storm/OpenCall.h"
#include "trials/storm/StormMessage.h"
#include "trials/storm/Tally.h"

namespace VelmSdkRpc::storm {

/// A channel with a connection of its own, which an agent that is busy has long enough to accept.
std::shared_ptr<grpc::Channel> connectTo(std::string const& address);

/// A connection that calls methods at random, some dozens at a time, at a rate that changes. It cancels calls, lets
/// streams wait before it reads them, holds watches open for a while, and now and then drops its channel with all that
/// is open on it. Used by one thread.
class Caller {
 public:
   using Clock = std::chrono::steady_clock;

   using Connect = std::function<std::shared_ptr<grpc::Channel>()>;

   /// Calls that the agent never releases go through the lasting channel; without one they are not made.
   Caller(Connect connect, std::shared_ptr<grpc::Channel> const& lasting, Tally& tally, Findings& findings,
          std::uint32_t seed);

   /// Between the begins of two calls; none unless it is told.
   void leastPauseIs(Clock::duration pause) { leastPause_ = pause; }

   /// Calls while the answer is true; then cancels what is open and waits for its end.
   void run(Weather weather, std::function<bool()> const& goesOn);

 private:
   using Timers = std::multimap<Clock::time_point, std::function<void()>>;

   void startOne(Weather weather);
   std::unique_ptr<google::protobuf::Message> request(google::protobuf::MethodDescriptor const& method);
   void setTimers(OpenCall& call);
   void at(OpenCall const& call, std::uint32_t milliseconds, void (OpenCall::*action)());
   void fireTimers();
   void awaitEvent(Clock::time_point until);
   void drop();
   void changeMood();

   Connect const connect_;
   std::unique_ptr<grpc::GenericStub> const lasting_;
   Tally& tally_;
   Findings& findings_;
   StormMessage any_;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<grpc::GenericStub> stub_;
   grpc::CompletionQueue queue_;
   std::unordered_map<OpenCall const*, std::unique_ptr<OpenCall>> open_;
   Timers timers_;
   Clock::time_point next_;
   Clock::duration leastPause_{};
   // The mood.
   std::uint32_t callsLeft_ = 0;
   std::size_t outstanding_ = 1;
   std::uint32_t pauseMicroseconds_ = 0;
   std::uint32_t cancelsOneIn_ = 10;
};

}  // namespace VelmSdkRpc::storm
