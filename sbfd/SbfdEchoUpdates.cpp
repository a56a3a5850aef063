#include "sbfd/SbfdEchoUpdates.h"

#include <iterator>
#include <utility>

#include "native/VelmSdkRpcService.h"
#include "platform/qor/Assert.h"
#include "sbfd/SbfdEchoUpdatesHandler.h"

namespace VelmSdkRpc {

void SbfdEchoUpdates::insert(OpaqueId id) {
   std::lock_guard const lock(mutex_);
   bool const inserted = handlerIds_.insert(id).second;
   Qor::assertThat(inserted, "inserted");  // ids are never used twice
}

void SbfdEchoUpdates::erase(OpaqueId id) {
   std::lock_guard const lock(mutex_);
   handlerIds_.erase(id);
}

// The mutex is held over the whole walk: two batches that are sent at the same time reach all listeners in the same
// order. withHandler keeps each handler from being erased while it is given its batch.
void SbfdEchoUpdates::send(Batch&& batch, Send send) {
   std::lock_guard const lock(mutex_);
   for (auto it = handlerIds_.begin(); it != handlerIds_.end();) {
      auto const next = std::next(it);
      bool const live = grpcService_.withHandler(*it, [&](RequestHandler& requestHandler) {
         auto& handler = static_cast<SbfdEchoUpdatesHandler&>(requestHandler);
         if (next == handlerIds_.end()) {
            (handler.*send)(std::move(batch));
         } else {
            (handler.*send)(Batch(batch));
         }
      });
      if (!live) handlerIds_.erase(it);
      it = next;
   }
}

}  // namespace VelmSdkRpc
