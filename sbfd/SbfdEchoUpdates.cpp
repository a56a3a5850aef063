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
   Qor::assertThat(inserted, "inserted");
}

void SbfdEchoUpdates::erase(OpaqueId id) {
   std::lock_guard const lock(mutex_);
   handlerIds_.erase(id);
}

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
