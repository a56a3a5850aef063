#include "rpc/ServerEventLoop.h"

namespace VelmSdkRpc {

void ServerEventLoop::run() {
   void* tag = nullptr;
   bool ok = false;
   while (queue_.Next(&tag, &ok)) {
      if (tag == wakeTag()) {
         // Here and nowhere else, for a handler at work must never meet a closed queue. gRPC itself posts a request
         // anew when it drops an unparsable one; those came before the tag, since the server was shut down before it.
         queue_.Shutdown();
      } else {
         handleEvent(tag, ok);
      }
   }
}

void ServerEventLoop::handleEvent(OpaqueId id, bool ok) {
   auto const index = serviceIndexOf(id);
   if (index >= services_.size()) return;
   auto& service = *services_[index];
   auto* const handler = service.findHandler(id);
   if (handler == nullptr) return;  // a late event of a handler that has gone

   auto const state = handler->state();
   // Either a request failed that the server's stop has left unanswered, or an operation whose client has gone.
   // Neither can be answered, so nobody asks the handler; a subscription that it leaves behind goes at the next
   // publish.
   if (!ok || state == HandlerState::Finished) {
      service.eraseHandler(id);
   } else if (service.stopping()) {
      // The event may be the end of a call whose Write is still in flight: the handler goes with that Write, or when
      // the queue is drained.
   } else if (state == HandlerState::Armed) {
      startCall(service, *handler);
   } else {
      handler->process();
   }
}

void ServerEventLoop::startCall(GrpcService& service, RequestHandler& handler) {
   // The successor first: the next call of the method is then taken while this one is at work.
   service.registerHandler(handler.chain(service.nextOpaqueId()));
   handler.process();
   // A unary or bulk handler has answered and leaves it to us to say so.
   if (handler.state() == HandlerState::Armed) handler.stateIs(HandlerState::Finished);
}

}  // namespace VelmSdkRpc
