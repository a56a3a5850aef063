#include "sbfd/SbfdEchoUpdatesHandler.h"

#include <utility>

#include "convert/Format.h"
#include "native/VelmSdkRpcService.h"
#include "platform/pesko/DisplayPointer.h"
#include "rpc/ProcessTrace.h"

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
