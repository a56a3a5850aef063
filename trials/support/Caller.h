#pragma once

#include <grpcpp/grpcpp.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "trials/support/Findings.h"
#include "trials/support/Stop.h"
#include "trials/support/StormMessage.h"
#include "trials/support/Tally.h"

namespace VelmSdkRpc::trials {

/// A channel with a connection of its own, which an agent that is busy has long enough to accept.
std::shared_ptr<grpc::Channel> connectTo(std::string const& address);

/// A connection that calls methods at random, several at a time. It gives calls up, lets streams wait before it reads
/// them, holds watches open for a while, and now and then takes another channel.
class Caller {
 public:
   /// Calls that the agent never releases go through the lasting channel; without one they are not made.
   Caller(std::string address, std::shared_ptr<grpc::Channel> lasting, Tally& tally, Findings& findings,
          std::uint32_t seed);

   /// Calls while the answer is true, with so many threads, each of which begins calls no closer to each other than
   /// `leastPause`.
   void run(Weather weather, std::function<bool()> const& goesOn, unsigned threads = 8,
            Clock::duration leastPause = {});

 private:
   void callOne(Weather weather, StormMessage& any);
   std::shared_ptr<grpc::Channel> channelFor(google::protobuf::MethodDescriptor const& method, StormMessage& any);

   std::string const address_;
   std::shared_ptr<grpc::Channel> const lasting_;
   Tally& tally_;
   Findings& findings_;
   std::uint32_t seed_;
   std::mutex mutex_;
   std::shared_ptr<grpc::Channel> channel_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc::trials
