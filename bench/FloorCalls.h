#pragma once

#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <deque>
#include <unordered_set>
#include <utility>

#include "bench/Places.h"
#include "rpc/Method.h"

/// The calls of the floor: each one an object, whose address is the tag of its events. It asks for a call when it is
/// made, makes its successor when that arrives, and deletes itself after its last event.
///
///    made: asks for a call ---> it arrives: a successor is made, the answer given ---> it has left: deleted
///
/// That an address is the tag is what the agent does not dare: an event for an object that has gone would be fatal.
/// Here nobody stops the server while calls are under way.
namespace VelmSdkRpc::Bench {

class FloorEvent {
 public:
   FloorEvent() = default;
   FloorEvent(FloorEvent const&) = delete;
   FloorEvent& operator=(FloorEvent const&) = delete;
   virtual ~FloorEvent() = default;
   virtual void proceed(bool ok) = 0;
};

/// A unary call, which answer(request, response) answers at once.
template <auto post, class Service, class Answer>
class FloorCall final : public FloorEvent {
 public:
   FloorCall(Service& service, grpc::ServerCompletionQueue& queue, Answer answer)
      : service_(service), queue_(queue), answer_(answer), responder_(&context_) {
      (service_.*post)(&context_, &request_, &responder_, &queue_, &queue_, this);
   }

   void proceed(bool ok) override {
      if (!ok || answered_) {
         delete this;
         return;
      }
      new FloorCall(service_, queue_, answer_);
      answered_ = true;
      typename PostedMethod<decltype(post)>::Response response;
      answer_(request_, response);
      responder_.Finish(response, grpc::Status::OK, this);
   }

 private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Answer answer_;
   grpc::ServerContext context_;
   grpc::ServerAsyncResponseWriter<typename PostedMethod<decltype(post)>::Response> responder_;
   typename PostedMethod<decltype(post)>::Request request_;
   bool answered_ = false;
};

template <auto post, class Service, class Answer>
void serveCalls(Service& service, grpc::ServerCompletionQueue& queue, Answer answer) {
   new FloorCall<post, Service, Answer>(service, queue, answer);
}

/// A call that streams a table: `count` elements, those that streamed(place) makes, one Write at a time with the
/// agent's write options.
template <auto post, auto streamed, class Service>
class FloorStream final : public FloorEvent {
 public:
   FloorStream(Service& service, grpc::ServerCompletionQueue& queue, std::size_t count)
      : service_(service), queue_(queue), count_(count), writer_(&context_) {
      gathering_.set_buffer_hint();
      (service_.*post)(&context_, &request_, &writer_, &queue_, &queue_, this);
   }

   void proceed(bool ok) override {
      if (!ok || over_) {
         delete this;
         return;
      }
      if (!arrived_) new FloorStream(service_, queue_, count_);
      auto const options = std::exchange(arrived_, true) ? gathering_ : grpc::WriteOptions();
      over_ = sent_ == count_;
      if (over_) {
         writer_.Finish(grpc::Status::OK, this);
      } else {
         writer_.Write(streamed(static_cast<Place>(sent_++)), options, this);
      }
   }

 private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   std::size_t const count_;
   grpc::WriteOptions gathering_;
   grpc::ServerContext context_;
   typename PostedMethod<decltype(post)>::Request request_;
   grpc::ServerAsyncWriter<typename PostedMethod<decltype(post)>::Response> writer_;
   std::size_t sent_ = 0;
   bool arrived_ = false;
   bool over_ = false;
};

template <auto post, auto streamed, class Service>
void serveStream(Service& service, grpc::ServerCompletionQueue& queue, std::size_t count) {
   new FloorStream<post, streamed, Service>(service, queue, count);
}

/// A watch, whatever it selects. It stays open until a Write fails.
template <auto post, class Service>
class FloorWatch final : public FloorEvent {
 public:
   using Event = typename PostedMethod<decltype(post)>::Response;
   /// The watches that are open; must outlive the queue.
   using Open = std::unordered_set<FloorWatch*>;

   FloorWatch(Service& service, grpc::ServerCompletionQueue& queue, Open& open)
      : service_(service), queue_(queue), open_(open), writer_(&context_) {
      (service_.*post)(&context_, &request_, &writer_, &queue_, &queue_, this);
   }
   ~FloorWatch() override { open_.erase(this); }

   void proceed(bool ok) override {
      if (!ok) {
         delete this;
      } else if (std::exchange(arrived_, true)) {
         writing_ = false;
         if (waiting_.empty()) return;
         auto const next = std::move(waiting_.front());
         waiting_.pop_front();
         send(next);
      } else {
         new FloorWatch(service_, queue_, open_);
         open_.insert(this);
         Event marker;
         marker.set_ready(true);
         send(marker);
      }
   }

   void send(Event const& event) {
      if (writing_) {
         waiting_.push_back(event);
         return;
      }
      writing_ = true;
      writer_.Write(event, this);
   }

 private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Open& open_;
   grpc::ServerContext context_;
   typename PostedMethod<decltype(post)>::Request request_;
   grpc::ServerAsyncWriter<Event> writer_;
   std::deque<Event> waiting_;  // for the Write under way
   bool writing_ = false;
   bool arrived_ = false;
};

}  // namespace VelmSdkRpc::Bench
