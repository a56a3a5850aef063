#pragma once

#include <mutex>
#include <set>

#include "proto/velmsdk.pb.h"
#include "rpc/OpaqueId.h"

namespace VelmSdkRpc {

class GrpcService;
class SbfdEchoUpdatesHandler;

/// The streams that listen for sBFD updates. Thread-safe.
class SbfdEchoUpdates {
 public:
   using Batch = pb::watch_sbfd_echo_session_status_msg;
   /// The handler's operation that queues a batch.
   using Send = void (SbfdEchoUpdatesHandler::*)(Batch&&);

   /// The service owns the handlers, and this.
   explicit SbfdEchoUpdates(GrpcService& grpcService) : grpcService_(grpcService) {}

   /// Adds a handler, which must not be there yet.
   void insert(OpaqueId id);
   /// Forgets a handler whose client has gone. The caller holds no mutex of the handler's.
   void erase(OpaqueId id);
   /// Hands every listener a copy, the last one the batch itself; without a listener it is dropped. A listener whose
   /// handler has gone without a word, as one does whose Write failed, is forgotten.
   void send(Batch&& batch, Send send);

 private:
   GrpcService& grpcService_;
   std::mutex mutex_;
   std::set<OpaqueId> handlerIds_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc
