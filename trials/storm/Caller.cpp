#include "trials/storm/Caller.h"

#include <algorithm>
#include <utility>

namespace VelmSdkRpc::storm {

using std::chrono::microseconds;
using std::chrono::milliseconds;

std::shared_ptr<grpc::Channel> connectTo(std::string const& address) {
   grpc::ChannelArguments arguments;
   arguments.SetMaxReceiveMessageSize(-1);
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
}

Caller::Caller(Connect connect, std::shared_ptr<grpc::Channel> const& lasting, Tally& tally, Findings& findings,
               std::uint32_t seed)
   : connect_(std::move(connect)),
     lasting_(lasting ? std::make_unique<grpc::GenericStub>(lasting) : nullptr),
     tally_(tally),
     findings_(findings),
     any_(seed) {}

void Caller::run(Weather weather, std::function<bool()> const& goesOn) {
   changeMood();
   for (;;) {
      while (open_.size() < outstanding_ && Clock::now() >= next_) {
         if (!goesOn()) return drop();
         if (callsLeft_-- == 0) {
            if (any_.oneIn(4)) drop();
            changeMood();
         }
         startOne(weather);
      }
      auto const room = open_.size() < outstanding_ ? next_ : Clock::time_point::max();
      auto const timer = timers_.empty() ? Clock::time_point::max() : timers_.begin()->first;
      awaitEvent(std::min({room, timer, Clock::now() + milliseconds(100)}));
      fireTimers();
   }
}

void Caller::startOne(Weather weather) {
   auto const index = tally_.choose(any_, weather);
   auto const& method = tally_.method(index);
   if (isNeverReleased(method) && !lasting_) return;
   if (!stub_) {
      channel_ = connect_();
      stub_ = std::make_unique<grpc::GenericStub>(channel_);
   }
   auto call = std::make_unique<OpenCall>(index, method, request(method));
   bool const held = any_.oneIn(method.server_streaming() ? 3 : 50);
   call->start(isNeverReleased(method) ? *lasting_ : *stub_, queue_, held);
   if (held) at(*call, any_.upTo(200), &OpenCall::release);
   setTimers(*call);
   open_.emplace(call.get(), std::move(call));
   auto const pause = microseconds(pauseMicroseconds_ == 0 ? 0 : any_.upTo(pauseMicroseconds_));
   next_ = Clock::now() + std::max<Clock::duration>(pause, leastPause_);
}

std::unique_ptr<google::protobuf::Message> Caller::request(google::protobuf::MethodDescriptor const& method) {
   auto message = newMessage(*method.input_type());
   any_.fill(*message, 6);
   return message;
}

void Caller::setTimers(OpenCall& call) {
   bool const staysOpen = storm::staysOpen(tally_.method(call.index()));
   if (staysOpen) {
      at(call, any_.oneIn(20) ? 1000 : any_.upTo(100), &OpenCall::cancel);
   } else if (any_.oneIn(cancelsOneIn_)) {
      if (any_.oneIn(2)) return call.cancel();
      at(call, any_.upTo(5), &OpenCall::cancel);
   }
}

void Caller::at(OpenCall const& call, std::uint32_t after, void (OpenCall::*action)()) {
   // A call that has ended by then may have a successor at its address: that one is cancelled or read early.
   timers_.emplace(Clock::now() + milliseconds(after), [this, key = &call, action] {
      if (auto const it = open_.find(key); it != open_.end()) ((*it->second).*action)();
   });
}

void Caller::fireTimers() {
   while (!timers_.empty() && timers_.begin()->first <= Clock::now()) timers_.extract(timers_.begin()).mapped()();
}

void Caller::awaitEvent(Clock::time_point until) {
   auto const wait = std::max(Clock::duration::zero(), until - Clock::now());
   void* tag = nullptr;
   bool ok = false;
   auto const deadline = std::chrono::system_clock::now() + wait;
   if (queue_.AsyncNext(&tag, &ok, deadline) != grpc::CompletionQueue::GOT_EVENT) return;
   auto& call = *static_cast<OpenCall*>(tag);
   if (call.advance(ok)) return;
   findings_.add(call.fault());
   auto const code = call.status().error_code();
   bool const isCancelled = code == grpc::StatusCode::CANCELLED || code == grpc::StatusCode::DEADLINE_EXCEEDED;
   tally_.add(call.index(), call.status().ok() ? End::ok : isCancelled ? End::cancelled : End::refused);
   open_.erase(&call);
}

void Caller::drop() {
   for (auto const& [key, call] : open_) call->cancel();
   // Of a channel that goes while it connects gRPC's client never closes the connection, and the agent has it to this
   // process's end.
   if (channel_) channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20));
   stub_.reset();
   channel_.reset();
   while (!open_.empty()) awaitEvent(Clock::now() + milliseconds(100));
   timers_.clear();
}

void Caller::changeMood() {
   callsLeft_ = 1 + any_.upTo(1000);
   outstanding_ = any_.oneIn(4) ? 1 : 1 + any_.upTo(48);
   pauseMicroseconds_ = any_.oneIn(3) ? any_.upTo(2000) : 0;
   cancelsOneIn_ = any_.oneIn(5) ? 2 : 5 + any_.upTo(40);
}

}  // namespace VelmSdkRpc::storm
