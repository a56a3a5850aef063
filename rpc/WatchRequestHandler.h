#pragma once

#include <grpc/support/time.h>
#include <grpcpp/alarm.h>

#include <deque>
#include <mutex>
#include <utility>

#include "convert/Format.h"
#include "rpc/EventSource.h"
#include "rpc/GenericRequestHandler.h"
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

/// What both kinds of watch share. The request has the field `notify_ready`, the response the field `ready`, set alone
/// in the marker from which on the client sees every event. `Derived` offers
///
///   - `subscribe()` and `cancel()`, which enter the handler's id in the service's subscriptions and take it out, and
///   - `bool filter(Response const&) const`, whether a response concerns this call; under the handler's mutex.
///
/// Server thread, but for enqueue.
template <class Derived, class Request, class Response, class Service>
class WatchRequestHandler : public GenericRequestHandler<Derived, Request, Response, Service, true> {
   using Base = GenericRequestHandler<Derived, Request, Response, Service, true>;

 public:
   WatchRequestHandler(HandlerSeat const& seat, Service& service) : Base(seat, service) {
      this->context().AsyncNotifyWhenDone(this->id());
   }

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
      if (!static_cast<Derived const&>(*this).filter(response)) return true;
      trace(this->service().tracer(), 9, "Enqueue {} to handler {}", response, this->id());
      queue_.push_back(response);
      wake();
      return true;
   }

 private:
   Derived& derived() { return static_cast<Derived&>(*this); }

   void traceProcess() const {
      auto const& tracer = this->service().tracer();
      if (!tracer.enabled(9)) return;  // else the mutex would be taken for nothing at every event
      std::lock_guard const lock(mutex_);
      trace(tracer, 9, "process handler {} source {}", this->id(), source_);
   }

   void start() {
      this->stateIs(HandlerState::Active);
      derived().subscribe();
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
      alarm_.Set(this->completionQueue(), gpr_inf_past(GPR_CLOCK_REALTIME), this->id());
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

   void end() {
      std::deque<Response> unsent;  // freed without the mutex
      {
         std::lock_guard const lock(mutex_);
         bool const outstanding = source_ != EventSource::None && !ended_;
         ended_ = true;
         unsent.swap(queue_);
         if (outstanding) return;
      }
      derived().cancel();
      this->finish(grpc::Status::OK);
   }

   mutable std::mutex mutex_;
   std::deque<Response> queue_;              // guarded by mutex_; unbounded
   grpc::Alarm alarm_;                       // guarded by mutex_
   EventSource source_ = EventSource::None;  // guarded by mutex_
   bool ended_ = false;                      // guarded by mutex_; the client has gone: nothing is queued any more
};

}  // namespace VelmSdkRpc
