#pragma once

#include <deque>
#include <mutex>

#include "proto/velmsdk.grpc.pb.h"
#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// One client's stream of sBFD updates: batches of statuses, which overtake, and batches of RTT figures. Whoever sends
/// starts the Write, if none is in flight; else the completion of the one before does. A client that is stuck makes its
/// own queues grow.
///
/// The event of the call's end has the same tag as a completed Write. If none is in flight the end finishes the call at
/// once, and nothing is written from then on; else the Write's own event does, or fails and has the loop erase the
/// handler.
class SbfdEchoUpdatesHandler
   : public GenericRequestHandler<SbfdEchoUpdatesHandler, pb::watch_sbfd_echo_session_config_msg,
                                  pb::watch_sbfd_echo_session_status_msg, VelmSdkRpcService, true> {
 public:
   using Batch = pb::watch_sbfd_echo_session_status_msg;

   SbfdEchoUpdatesHandler(OpaqueId id, VelmSdkRpcService& service);
   static constexpr auto requestFn() {
      return &pb::velmsdk_service::AsyncService::Requestwatch_sbfd_echo_session_status_msgs;
   }

   void process() override;

   // From any thread that keeps the handler from going. Not once the service is stopping.
   void sendAliveUpdate(Batch&& batch);
   void sendRttUpdate(Batch&& batch);

 private:
   void queue(std::deque<Batch>& queue, Batch&& batch);
   void doWrite();
   void end();

   bool canWrite_ = true;          // guarded by writeMutex_; no Write is in flight and the client is there
   bool ended_ = false;            // guarded by writeMutex_; the client has gone
   std::mutex writeMutex_;         // taken before queueMutex_; the only one held across a Write
   std::mutex queueMutex_;         // never held across a call of gRPC
   std::deque<Batch> rttQueue_;    // guarded by queueMutex_; unbounded
   std::deque<Batch> aliveQueue_;  // guarded by queueMutex_; unbounded
};

}  // namespace VelmSdkRpc
