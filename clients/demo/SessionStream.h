#pragma once

#include <grpcpp/grpcpp.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "clients/demo/Entries.h"
#include "clients/demo/Narration.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::demo {

/// What the stream said in one message: either statuses, or round-trip times.
struct SessionBatch {
   Clock::time_point arrival;
   std::vector<SessionReport> statuses;
   std::vector<SessionRtt> rtts;
   bool closed = false;  // its last element is the end marker
};

/// The agent's stream of session statuses and round-trip times. A thread of its own reads it, so that arrivals are
/// timed and nothing waits at the agent.
class SessionStream {
 public:
   /// Opens the stream. It carries all that requests cause which are made behind this on the same channel. Throws
   /// std::runtime_error if the channel does not connect.
   explicit SessionStream(std::shared_ptr<grpc::Channel> const& channel);
   /// Closes it.
   ~SessionStream();
   SessionStream(SessionStream const&) = delete;
   SessionStream& operator=(SessionStream const&) = delete;

   /// The next batch in the order of the stream; nothing if none has come by the deadline, or the stream has ended.
   /// Throws std::runtime_error for a batch that is not of one kind.
   std::optional<SessionBatch> next(Clock::time_point deadline);
   /// Whether the agent's side has ended it, all of it having been taken.
   bool over() const;

 private:
   using Message = pb::watch_sbfd_echo_session_status_msg;
   struct Arrived {
      Clock::time_point time;
      Message message;
   };

   void read();

   std::unique_ptr<pb::velmsdk_service::Stub> stub_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<Message>> reader_;
   mutable std::mutex mutex_;
   std::condition_variable changed_;
   std::deque<Arrived> arrived_;  // guarded by mutex_
   bool ended_ = false;           // guarded by mutex_
   std::thread thread_;
};

}  // namespace VelmSdkRpc::demo
