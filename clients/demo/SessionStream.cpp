#include "clients/demo/SessionStream.h"

#include <stdexcept>
#include <utility>

#include "clients/support/Address.h"

namespace VelmSdkRpc::demo {
namespace {

SessionKey keyOf(pb::sbfd_echo_session_key_msg const& message) {
   return {.intf = message.outgoing_interface(),
           .neighbour = addressText(message.nexthop().addr()),
           .labels = {message.labels().begin(), message.labels().end()}};
}

SessionRtt rttOf(SessionKey key, pb::sbfd_echo_session_rtt_msg const& rtt) {
   return {
      .key = std::move(key), .last = rtt.last_rtt(), .min = rtt.min_rtt(), .avg = rtt.avg_rtt(), .max = rtt.max_rtt()};
}

SessionBatch batchOf(Clock::time_point arrival, pb::watch_sbfd_echo_session_status_msg const& message) {
   using Element = pb::watch_sbfd_echo_session_status_msg;
   SessionBatch batch{.arrival = arrival, .statuses = {}, .rtts = {}};
   for (auto const& element : message.bulk()) {
      if (batch.closed) throw std::runtime_error("the stream has an element behind the end of its batch");
      switch (element.update_case()) {
         case Element::kStatus:
            batch.statuses.push_back(
               {keyOf(element.session_key()), static_cast<SessionStatus>(element.status().status())});
            break;
         case Element::kRtt: batch.rtts.push_back(rttOf(keyOf(element.session_key()), element.rtt())); break;
         case Element::kEndOfStatusBatch: batch.closed = true; break;
         default: throw std::runtime_error("the stream has an element that says nothing");
      }
   }
   if (batch.statuses.empty() == batch.rtts.empty()) throw std::runtime_error("a batch is not of one kind");
   return batch;
}

}  // namespace

SessionStream::SessionStream(std::shared_ptr<grpc::Channel> const& channel)
   : stub_(pb::velmsdk_service::NewStub(channel)) {
   if (!channel->WaitForConnected(std::chrono::system_clock::now() + waitLimit)) {
      throw std::runtime_error("the channel of the stream does not connect");
   }
   pb::watch_sbfd_echo_session_config_msg config;
   config.set_request_rtt_updates(true);
   reader_ = stub_->watch_sbfd_echo_session_status_msgs(&context_, config);  // back once the request has been sent
   thread_ = std::thread([this] { read(); });
}

SessionStream::~SessionStream() {
   context_.TryCancel();
   thread_.join();
}

void SessionStream::read() {
   Message message;
   while (reader_->Read(&message)) {
      auto const now = Clock::now();
      {
         std::scoped_lock const lock(mutex_);
         arrived_.push_back({now, std::move(message)});
      }
      changed_.notify_one();
      message.Clear();
   }
   reader_->Finish();
   {
      std::scoped_lock const lock(mutex_);
      ended_ = true;
   }
   changed_.notify_one();
}

std::optional<SessionBatch> SessionStream::next(Clock::time_point deadline) {
   Arrived first;
   {
      std::unique_lock lock(mutex_);
      changed_.wait_until(lock, deadline, [this] { return !arrived_.empty() || ended_; });
      if (arrived_.empty()) return std::nullopt;
      first = std::move(arrived_.front());
      arrived_.pop_front();
   }
   return batchOf(first.time, first.message);
}

bool SessionStream::over() const {
   std::scoped_lock const lock(mutex_);
   return ended_ && arrived_.empty();
}

}  // namespace VelmSdkRpc::demo
