#include "sbfd/SbfdEchoUpdatesHandler.h"

#include <utility>

#include "convert/Format.h"
#include "native/VelmSdkRpcService.h"
#include "platform/pesko/DisplayPointer.h"
#include "rpc/ProcessTrace.h"

// Two things happen to a stream at any moment: somebody sends a batch, and an event of gRPC comes to the server thread,
// for a completed Write or for the end of the call. Both events bear the same tag, so the state tells them apart:
//
//    idle ---- a batch is queued: Write ----> writing ---- Write completed: the next batch ----> writing
//     ^                                          |   \---- Write completed, nothing queued ----> idle
//     |  canWrite_                               |  !canWrite_
//     |                                          |
//     +-- the end: finish at once                +-- the first event after the client has gone marks ended_,
//                                                    the second one finishes; a Write that failed makes the loop
//                                                    erase the handler instead
//
// writeMutex_ makes "is a Write in flight, and if not, start one" one step. queueMutex_ is let go before the Write, so
// that a sender can queue while gRPC is busy with one. The registry is told of the end without either: it takes them
// after its own mutex when it sends.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "SbfdEchoUpdatesHandler";

}  // namespace

SbfdEchoUpdatesHandler::SbfdEchoUpdatesHandler(OpaqueId id, VelmSdkRpcService& service)
   : GenericRequestHandler(id, service) {
   context().AsyncNotifyWhenDone(id);
}

void SbfdEchoUpdatesHandler::process() {
   if (state() == HandlerState::Armed) {
      stateIs(HandlerState::Active);
      service().registerSbfdHandlerForUpdates(id());
   } else if (context().IsCancelled()) {
      end();
   } else {
      std::lock_guard const lock(writeMutex_);
      doWrite();
   }
}

void SbfdEchoUpdatesHandler::sendAliveUpdate(Batch&& batch) {
   trace(className, 6, "{} Queue alive update {}", Pesko::DisplayPointer(this), batch);
   queue(aliveQueue_, std::move(batch));
}

void SbfdEchoUpdatesHandler::sendRttUpdate(Batch&& batch) {
   trace(className, 6, "{} Queue rtt update {}", Pesko::DisplayPointer(this), batch);
   queue(rttQueue_, std::move(batch));
}

void SbfdEchoUpdatesHandler::queue(std::deque<Batch>& queue, Batch&& batch) {
   {
      std::lock_guard const lock(queueMutex_);
      queue.push_back(std::move(batch));
   }
   std::lock_guard const lock(writeMutex_);
   if (canWrite_) doWrite();
}

void SbfdEchoUpdatesHandler::doWrite() {
   std::unique_lock lock(queueMutex_);
   bool const alive = !aliveQueue_.empty();
   auto& queue = alive ? aliveQueue_ : rttQueue_;
   if (queue.empty()) {
      canWrite_ = true;
      trace(className, 9, "{} Write idle", Pesko::DisplayPointer(this));
      return;
   }
   auto const batch = std::move(queue.front());
   queue.pop_front();
   lock.unlock();
   trace(className, 6, "{} Write {} update {}", Pesko::DisplayPointer(this), alive ? "alive" : "RTT", batch);
   canWrite_ = false;
   responder().Write(batch, id());
}

void SbfdEchoUpdatesHandler::end() {
   {
      std::lock_guard const lock(writeMutex_);
      bool const writing = !canWrite_ && !ended_;
      canWrite_ = false;
      ended_ = true;
      if (writing) return;
   }
   service().unregisterSbfdHandlerForUpdates(id());
   finish(grpc::Status::OK);
}

}  // namespace VelmSdkRpc
