#pragma once

#include <cstddef>

#include "bench/FloorCall.h"
#include "bench/Places.h"

namespace VelmSdkRpc::Bench {

/// One call of a method that streams a table: so many elements, those that streamed(place) makes, one Write at a time
/// with the agent's write options.
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
      auto const options = arrived_ ? gathering_ : grpc::WriteOptions();
      arrived_ = true;
      if (sent_ == count_) {
         over_ = true;
         writer_.Finish(grpc::Status::OK, this);
         return;
      }
      writer_.Write(streamed(static_cast<Place>(sent_++)), options, this);
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

/// Asks for the first call of such a method.
template <auto post, auto streamed, class Service>
void serveStream(Service& service, grpc::ServerCompletionQueue& queue, std::size_t count) {
   new FloorStream<post, streamed, Service>(service, queue, count);
}

}  // namespace VelmSdkRpc::Bench
