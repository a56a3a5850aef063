#pragma once

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "rpc/OpaqueId.h"

namespace VelmSdkRpc {

// The life of a call. One handler is one call; its service's table owns it and its id is the tag of all its events.
//
//   startHandlers, chain
//      |  new handler, new id, request posted, into the table
//      v
//    Armed --------- ok false: the server stops --------------------------------+
//      |  a call arrives: the loop first arms the successor (chain),            |
//      |  then runs process                                                     |
//      |                                                                        |
//      +-- unary, bulk: process issues Finish, the loop marks it -----+         |
//      |                                                              |         |
//      |  stream: process sets Active                                 |         |
//      v                                                              |         |
//    Active -------- ok false: a Write failed, the client has gone ---|-------->+
//      |  ^                                                           |         |
//      |  +-- an alarm, a completed Write: process goes on            |         |
//      |                                                              |         |
//      |  the stream ends: process sets Finished and issues Finish    |         |
//      v                                                              |         v
//    Finished <-------------------------------------------------------+       erased
//      |  the Finish completes, ok or not                                       ^
//      +------------------------------------------------------------------------+
//
// Whatever ends, completes or rings for a call comes out of the queue as its handler's id, and the loop cannot tell
// these events apart. A handler can, for it starts one operation at a time: the next event is that operation's. The end
// of a call is the exception. Those who ask to be told of it get one event more, at any moment, and have to see to it
// themselves (StreamingAdapterHandler.h).
//
// An event whose id is not in the table belongs to a handler that has gone, and is dropped. Once the server stops,
// events only erase: nothing is processed and nothing armed.

enum class HandlerState : std::uint32_t {
   Armed = 0,     // the request is posted to gRPC and no call has arrived
   Active = 1,    // a streaming call is being served
   Finished = 2,  // Finish has been issued: no message may be queued any more
};

/// One call, from the posting of its request to the completion of its Finish. Made, run and erased on the server
/// thread; what other threads may do says so.
class RequestHandler {
 public:
   explicit RequestHandler(OpaqueId id) : id_(id) {}
   RequestHandler(RequestHandler const&) = delete;
   RequestHandler& operator=(RequestHandler const&) = delete;

   /// The next step of the call, after an event of this handler. It starts at most one operation of gRPC, whose event
   /// is then the next one. What it throws ends the process.
   virtual void process() = 0;
   /// A new handler of the same method under `id`, with its request posted: it takes the method's next call.
   virtual std::unique_ptr<RequestHandler> chain(void* id) = 0;
   virtual ~RequestHandler() = default;

   OpaqueId id() const { return id_; }
   /// Belongs to gRPC from the posting of the request until the call has come.
   grpc::ServerContext& context() { return context_; }

   /// Any thread may read it. Set by the server thread alone, and after a Finish only within the event that issued it:
   /// the event after that one erases the handler.
   HandlerState state() const { return state_.load(std::memory_order_acquire); }
   void stateIs(HandlerState state) { state_.store(state, std::memory_order_release); }

 private:
   std::atomic<HandlerState> state_{HandlerState::Armed};
   OpaqueId const id_;
   grpc::ServerContext context_;
};

/// Makes a handler and asks gRPC for the next call of its method, which may arrive at once: on the server thread only.
template <class Handler, class... Args>
std::unique_ptr<Handler> armed(OpaqueId id, Args&&... args) {
   auto handler = std::make_unique<Handler>(id, std::forward<Args>(args)...);
   handler->postRequest(handler->requestFn());
   return handler;
}

}  // namespace VelmSdkRpc
