#pragma once

#include <grpcpp/grpcpp.h>

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "clients/demo/SessionStream.h"

namespace VelmSdkRpc::demo {

/// Takes the stream batch by batch and holds it against what is expected. Throws std::runtime_error for what is told
/// otherwise, and for what is not told in time.
class SessionListener {
 public:
   /// Opens the stream, as SessionStream does.
   explicit SessionListener(std::shared_ptr<grpc::Channel> const& channel) : stream_(channel) {}

   /// The next batch of statuses tells of exactly these, each in this status. Round-trip times before it are passed
   /// over. When it came.
   Clock::time_point expectOneBatch(std::vector<SessionKey> const& keys, SessionStatus status);
   /// In the next batches each of these is told to be in this status, and nothing else. When each was told, at last.
   std::map<SessionKey, Clock::time_point> expectEach(std::vector<SessionKey> const& keys, SessionStatus status);
   /// The first round-trip times of each of these, in the order of their arrival; until all have come, no other session
   /// has any. Statuses between them are passed over.
   std::vector<SessionRtt> expectRtts(std::vector<SessionKey> const& keys);
   /// The agent ends the stream. What comes before is passed over.
   void expectEnd();

 private:
   /// The next batch with a status, or with a round-trip time.
   SessionBatch nextStatuses();
   SessionBatch nextRtts();
   template <class Part>
   SessionBatch nextWith(Part SessionBatch::*part, std::string_view kind);

   SessionStream stream_;
};

}  // namespace VelmSdkRpc::demo
