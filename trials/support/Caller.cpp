#include "trials/support/Caller.h"

#include <list>
#include <thread>
#include <utility>

#include "tests/support/AnyCall.h"
#include "trials/support/Answers.h"

namespace VelmSdkRpc::trials {

using std::chrono::milliseconds;

std::shared_ptr<grpc::Channel> connectTo(std::string const& address) {
   grpc::ChannelArguments arguments;
   arguments.SetMaxReceiveMessageSize(-1);
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
}

Caller::Caller(std::string address, std::shared_ptr<grpc::Channel> lasting, Tally& tally, Findings& findings,
               std::uint32_t seed)
   : address_(std::move(address)), lasting_(std::move(lasting)), tally_(tally), findings_(findings), seed_(seed) {}

void Caller::run(Weather weather, std::function<bool()> const& goesOn, unsigned threads, Clock::duration leastPause) {
   std::list<std::jthread> callers;
   for (unsigned i = 0; i < threads; ++i) {
      callers.emplace_back([&, seed = seed_ * 1000 + i] {
         StormMessage any(seed);
         for (std::uint32_t mood = 0; goesOn();) {
            auto const next = Clock::now() + leastPause;
            if (any.oneIn(200)) mood = any.oneIn(2) ? any.upTo(2000) : 0;
            callOne(weather, any);
            awaitTime({}, next + std::chrono::microseconds(mood == 0 ? 0 : any.upTo(mood)));
         }
      });
   }
   callers.clear();
   seed_ += 100;
   std::lock_guard const lock(mutex_);
   channel_.reset();
}

// A channel that goes while it connects leaves the agent a connection that gRPC's client never closes.
std::shared_ptr<grpc::Channel> Caller::channelFor(google::protobuf::MethodDescriptor const& method, StormMessage& any) {
   if (isNeverReleased(method)) return lasting_;
   bool const another = any.oneIn(1000);
   std::lock_guard const lock(mutex_);
   if (!channel_ || another) {
      channel_ = connectTo(address_);
      channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20));
   }
   return channel_;
}

void Caller::callOne(Weather weather, StormMessage& any) {
   auto const index = tally_.choose(any, weather);
   auto const& method = tally_.method(index);
   auto const channel = channelFor(method, any);
   if (!channel) return;
   auto const request = newMessage(*method.input_type());
   any.fill(*request, 6);
   CallStory story{method, *request};
   auto timeout = milliseconds(90'000);  // an agent that hangs
   bool const stays = staysOpen(method);
   if (stays || any.oneIn(20)) timeout = milliseconds(1 + any.upTo(!stays ? 5 : any.oneIn(20) ? 1000 : 100));
   story.givenUp = stays || timeout < milliseconds(90'000);
   AnyStream stream(channel, method, *request, timeout);
   if (any.oneIn(20)) {
      story.givenUp = true;
      stream.cancel();
   }
   if (any.oneIn(method.server_streaming() ? 3 : 50)) awaitTime({}, Clock::now() + milliseconds(any.upTo(100)));
   AnyMessagePtr last;
   while (auto message = stream.next()) {
      ++story.messages;
      last = std::move(message);
   }
   story.last = last.get();
   story.status = stream.status();
   findings_.add(stream.garbled() ? method.full_name() + ": an answer that cannot be parsed" : faultOf(story));
   auto const code = story.status.error_code();
   bool const givenUp = code == grpc::StatusCode::CANCELLED || code == grpc::StatusCode::DEADLINE_EXCEEDED;
   tally_.add(index, story.status.ok() ? End::ok : givenUp ? End::cancelled : End::refused);
}

}  // namespace VelmSdkRpc::trials
