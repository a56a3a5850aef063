#pragma once

#include <grpc/support/time.h>
#include <grpcpp/alarm.h>

#include <deque>
#include <mutex>
#include <utility>

#include "convert/Format.h"
#include "rpc/EventSource.h"
#include "rpc/GenericRequestHandler.h"
#include "rpc/Method.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc {

// A watch never ends by itself. Events are born on the main loop; a Write belongs to the server thread, one at a time:
//
//   main loop     publish: enqueue(response) --- idle? ---> alarm, for now
//                                                             |
//   server        alarm > process: Write the front -----------+
//                 Write completed > process: Write the front, or idle again
//
// A reader that is slow makes the queue grow. The end of the call is one event more, with the same tag; gRPC ends the
// process for a Write on a call that is over. So with an alarm or a Write outstanding the end only marks the call as
// ended, and the outstanding event finishes it; a Write that fails makes the loop erase the handler as it stands, and
// its subscription leaves at the next publish.

/// Serves a watch by an adapter:
///
///   struct Watch : Method<&AsyncService::Requestwatch> {
///      static void subscribe(Service& service, Request const& request, void* id);
///      static void cancel(Service& service, void* id);
///      static bool filter(Request const& request, Response const& response);
///   };
///
/// `subscribe` enters the handler's id in the service's subscriptions, or does not, for a request that selects nothing;
/// `cancel` takes it out, and need not find it. Both run on the server thread, without a lock. `filter` tells whether
/// an event concerns the call; it runs on the thread that publishes, under the handler's mutex, and must be quick.
///
/// The request has the field `notify_ready`. If it is set the first message of the stream is a marker with nothing but
/// `ready` in it: every event after the subscription follows it. It is not filtered.
///
/// Server thread, but for enqueue.
template <class Adapter, class Request, class Response, class Service>
class StreamingAdapterHandler final
   : public GenericRequestHandler<StreamingAdapterHandler<Adapter, Request, Response, Service>, Request, Response,
                                  Service, true> {
   static_assert(Adapter::streams, "the method has one answer");
   static_assert(
      requires(Request const& request, Response& response) {
         request.notify_ready();
         response.set_ready(true);
      },
      "the messages are not those of a watch");

   using Base = typename StreamingAdapterHandler::GenericRequestHandler;

 public:
   StreamingAdapterHandler(OpaqueId id, Service& service) : Base(id, service) {
      this->context().AsyncNotifyWhenDone(id);
   }

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      if (this->state() == HandlerState::Armed) return start();
      traceProcess();
      if (this->context().IsCancelled()) return end();
      writeNext();
   }

   /// Queues a copy of the response, if it concerns this call, and wakes the server thread if the call is idle. False
   /// if the call is over, so that it need not be asked again. From any thread that keeps the handler from going.
   bool enqueue(Response const& response) {
      if (this->state() == HandlerState::Finished) return false;
      std::lock_guard const lock(mutex_);
      if (this->state() == HandlerState::Finished) return false;
      if (ended_ || this->service().stopping()) return true;
      if (!Adapter::filter(this->request(), response)) return true;
      trace(this->service().tracer(), 9, "Enqueue {} to handler {}", response, this->id());
      queue_.push_back(response);
      wake();
      return true;
   }

 private:
   void traceProcess() const {
      auto const& tracer = this->service().tracer();
      if (!tracer.enabled(9)) return;  // else the mutex would be taken for nothing at every event
      std::lock_guard const lock(mutex_);
      trace(tracer, 9, "process handler {} source {}", this->id(), source_);
   }

   void start() {
      this->stateIs(HandlerState::Active);
      Adapter::subscribe(this->service(), this->request(), this->id());
      if (this->request().notify_ready()) enqueueMarker();
   }

   // Comes after the subscription, so that no event falls between, and still goes to the front: events may have been
   // queued meanwhile, but none can have been written, for that is the work of this thread.
   void enqueueMarker() {
      std::lock_guard const lock(mutex_);
      if (this->service().stopping()) return;
      Response marker;
      marker.set_ready(true);
      trace(this->service().tracer(), 9, "Enqueue {} to handler {}", marker, this->id());
      queue_.push_front(std::move(marker));
      wake();
   }

   // With the mutex held, after something was queued.
   void wake() {
      if (source_ != EventSource::None) return;
      source_ = EventSource::Alarm;
      trace(this->service().tracer(), 9, "Set alarm for handler {}\n", this->id());
      // Long past is at once; gRPC rounds the present up to a whole millisecond and leaves it to a thread of timers.
      alarm_.Set(this->service().completionQueue(), gpr_inf_past(GPR_CLOCK_REALTIME), this->id());
   }

   void writeNext() {
      std::lock_guard const lock(mutex_);
      source_ = EventSource::None;
      if (queue_.empty()) return;
      trace(this->service().tracer(), 8, "Write {} to handler {}", queue_.front(), this->id());
      this->responder().Write(queue_.front(), this->id());
      source_ = EventSource::Write;
      queue_.pop_front();  // it has been serialised
   }

   // Twice, when the call ended with an event outstanding: the second time is that event.
   void end() {
      std::deque<Response> unsent;  // freed without the mutex
      {
         std::lock_guard const lock(mutex_);
         bool const outstanding = source_ != EventSource::None && !ended_;
         ended_ = true;
         unsent.swap(queue_);
         if (outstanding) return;
      }
      // Without the mutex: the last to leave waits for the SDK lock, whose holder may be publishing to this handler.
      Adapter::cancel(this->service(), this->id());
      this->finish(grpc::Status::OK);
   }

   mutable std::mutex mutex_;
   std::deque<Response> queue_;              // guarded by mutex_; unbounded
   grpc::Alarm alarm_;                       // guarded by mutex_
   EventSource source_ = EventSource::None;  // guarded by mutex_
   bool ended_ = false;                      // guarded by mutex_; the client has gone: nothing is queued any more
};

/// The name of the kind in the two services whose watches are known by the names of their handlers.
template <class Adapter, class Request, class Response, class Service>
using StreamingRequestHandler = StreamingAdapterHandler<Adapter, Request, Response, Service>;

/// Base of the watch adapters whose calls subscribe as they come and want every event. An adapter derived from it
/// replaces what it does otherwise.
template <auto post>
struct SubscribedWatch : Method<post> {
   template <class Service>
   static void subscribe(Service& service, typename Method<post>::Request const& /*request*/, void* id) {
      service.subscriptions().subscribe(id);
   }
   template <class Service>
   static void cancel(Service& service, void* id) {
      service.subscriptions().cancel(id);
   }
   static bool filter(typename Method<post>::Request const& /*request*/,
                      typename Method<post>::Response const& /*response*/) {
      return true;
   }
};

/// The class of handlers that an adapter's watch has: its service publishes to it by publishA.
template <class Adapter, class Service>
using WatchOf = StreamingAdapterHandler<Adapter, typename Adapter::Request, typename Adapter::Response, Service>;

}  // namespace VelmSdkRpc
