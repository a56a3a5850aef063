#pragma once

#include <optional>
#include <utility>

#include "convert/Format.h"
#include "rpc/GenericRequestHandler.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc {

/// Streams what an iterator of the SDK gives, one message an element, each behind the completion of the one before. The
/// SDK lock is held for each step alone, so that a long table never holds up the main loop. A client that goes away
/// fails the Write in flight, and the loop erases the handler.
///
///   struct Intfs : Method<&AsyncService::Requestintfs> {
///      static velm::intf_iter_t call(IntfService& service, Request const& request);  // under the SDK lock; may throw
///      static Response response(velm::intf_id_t const& element);
///   };
template <class Adapter, class Request, class Response, class Service>
class IteratorStreamingHandler final
   : public GenericRequestHandler<IteratorStreamingHandler<Adapter, Request, Response, Service>, Request, Response,
                                  Service, true> {
   using Base = typename IteratorStreamingHandler::GenericRequestHandler;

 public:
   IteratorStreamingHandler(HandlerSeat const& seat, Service& service) : Base(seat, service) {
      gathering_.set_buffer_hint();
   }

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      bool const first = this->state() == HandlerState::Armed;
      if (first) {
         if (!open()) return;
      } else {
         velm::sdk_scoped_lock const lock;
         ++*iterator_;
      }
      if (!*iterator_) {
         this->finish(grpc::Status::OK);
         trace(this->service().tracer(), 9, "iterator complete handler {}\n", this->id());
         return;
      }
      write(Adapter::response(**iterator_), first);
   }

 private:
   using Iterator = decltype(Adapter::call(std::declval<Service&>(), std::declval<Request const&>()));

   // False if there is no iterator to be had: the call has ended with why.
   bool open() {
      velm::sdk_scoped_lock const lock;
      auto const status = guarded([&] { iterator_.emplace(Adapter::call(this->service(), this->request())); });
      if (!status.ok()) {
         this->finish(status);
         return false;
      }
      this->stateIs(HandlerState::Active);
      return true;
   }

   void write(Response const& response, bool first) {
      trace(this->service().tracer(), 9, "iterator streaming {} to handler {}\n", response, this->id());
      if (first) {
         this->responder().Write(response, this->id());  // at once: the client is waiting
      } else {
         this->responder().Write(response, gathering_, this->id());
      }
   }

   grpc::WriteOptions gathering_;
   std::optional<Iterator> iterator_;
};

}  // namespace VelmSdkRpc
