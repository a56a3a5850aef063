#pragma once

#include <grpcpp/grpcpp.h>

#include "rpc/Method.h"

namespace VelmSdkRpc::Bench {

/// What the floor's queue hands out: the address is the tag.
class FloorEvent {
 public:
   FloorEvent() = default;
   FloorEvent(FloorEvent const&) = delete;
   FloorEvent& operator=(FloorEvent const&) = delete;
   virtual ~FloorEvent() = default;
   virtual void proceed(bool ok) = 0;
};

/// One call of a unary method, answered at once by answer(request, response). Like every call of the floor it makes its
/// successor when it arrives and deletes itself behind its last event.
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
      Response response;
      answer_(request_, response);
      responder_.Finish(response, grpc::Status::OK, this);
   }

 private:
   using Request = typename PostedMethod<decltype(post)>::Request;
   using Response = typename PostedMethod<decltype(post)>::Response;

   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Answer answer_;
   grpc::ServerContext context_;
   grpc::ServerAsyncResponseWriter<Response> responder_;
   Request request_;
   bool answered_ = false;
};

/// Asks for the first call of a method.
template <auto post, class Service, class Answer>
void serveCalls(Service& service, grpc::ServerCompletionQueue& queue, Answer answer) {
   new FloorCall<post, Service, Answer>(service, queue, answer);
}

}  // namespace VelmSdkRpc::Bench
