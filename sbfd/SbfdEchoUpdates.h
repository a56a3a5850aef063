#pragma once

#include <mutex>
#include <set>

#include "proto/velmsdk.pb.h"
#include "rpc/OpaqueId.h"

namespace VelmSdkRpc {

class GrpcService;
class SbfdEchoUpdatesHandler;

/// The streams that listen for sBFD updates, by the ids of their handlers. Every listener gets every batch, in the
/// order in which they are sent.
///
/// Thread-safe: the main loop sends, and so does the server thread at the end of a resync. Its mutex comes before that
/// of the service's handler table and those of the handlers.
class SbfdEchoUpdates {
 public:
   using Batch = pb::watch_sbfd_echo_session_status_msg;
   /// The handler's operation that queues a batch.
   using Send = void (SbfdEchoUpdatesHandler::*)(Batch&&);

   /// The service owns the handlers, and this.
   explicit SbfdEchoUpdates(GrpcService& grpcService) : grpcService_(grpcService) {}

   /// Adds a handler, which must not be there yet.
   void insert(OpaqueId id);
   /// Forgets a handler whose client has gone; harmless for one that is not there. The caller holds no mutex of the
   /// handler's, since send() takes those after this one's.
   void erase(OpaqueId id);
   /// Hands every listener a copy, the last one the batch itself; a batch without a listener is dropped. A listener
   /// whose handler has gone without erasing it, because a Write failed, is forgotten.
   void send(Batch&& batch, Send send);

 private:
   GrpcService& grpcService_;
   std::mutex mutex_;
   std::set<OpaqueId> handlerIds_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc
