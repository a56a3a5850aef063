#include "bench/Audience.h"

#include <memory>
#include <vector>

namespace VelmSdkRpc::Bench {

Audience::Audience(Server& server, std::size_t watchers, std::size_t connections)
   : call_(client_, server.newChannel(), &Stub::Asyncdescription_is) {
   request_.mutable_intf_id()->set_name("Ethernet1");
   std::vector<std::shared_ptr<grpc::Channel>> channels;
   for (std::size_t i = 0; i < connections; ++i) channels.push_back(server.newChannel());
   for (std::size_t i = 0; i < watchers; ++i) {
      watches_.emplace_back(client_, channels[i % connections], [this](IntfWatch::Event const& event) { hear(event); });
   }
}

Delay Audience::change() {
   request_.set_description(std::to_string(++changes_));
   heard_ = 0;
   auto const begin = Clock::now();
   call_.begin(request_);
   client_.runUntil([this] { return call_.answered() && heard_ == watches_.size(); });
   return {begin, call_.answeredAt(), heardAt_};
}

void Audience::hear(IntfWatch::Event const& event) {
   if (event.description() != request_.description()) return;
   heardAt_ = Clock::now();
   ++heard_;
}

}  // namespace VelmSdkRpc::Bench
