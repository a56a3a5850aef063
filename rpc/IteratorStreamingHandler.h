#pragma once

#include <optional>
#include <utility>

#include "convert/Format.h"
#include "rpc/GenericRequestHandler.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc {

/// Streams what an iterator of the SDK gives, one message an element, each once the one before has been taken over by
/// the library. An adapter offers both ends:
///
///   struct Intfs : Method<&AsyncService::Requestintfs> {
///      static auto call(IntfService& service, Request const&) { return service.mgr().intf_iter(); }
///      static void fill(Response& response, velm::intf_id_t const& element);
///   };
///
/// `call` gives the iterator, under the SDK lock. What it throws is the status of the call, which then has no message.
/// `fill` gets an empty response and must not throw, nor may the iterator's steps: that would end the process.
///
/// The SDK lock is held for each step alone, so a long table holds the main loop up for no longer than a short one.
/// What the client sees is therefore no snapshot: the iterator goes on from its element's key, whatever has changed.
/// A client that goes away fails the Write in flight, and the loop erases the handler.
template <class Adapter, class Request, class Response, class Service>
class IteratorStreamingHandler final
   : public GenericRequestHandler<IteratorStreamingHandler<Adapter, Request, Response, Service>, Request, Response,
                                  Service, true> {
   static_assert(Adapter::streams, "the method has one answer");

   using Base = typename IteratorStreamingHandler::GenericRequestHandler;
   using Iterator = decltype(Adapter::call(std::declval<Service&>(), std::declval<Request const&>()));

 public:
   IteratorStreamingHandler(OpaqueId id, Service& service) : Base(id, service) { gathering_.set_buffer_hint(); }

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      bool const first = this->state() == HandlerState::Armed;
      if (first) {
         if (!open()) return;
      } else {
         velm::sdk_scoped_lock const lock;
         ++*iterator_;
      }
      // From here on without the lock: the iterator holds a copy of its element.
      if (!*iterator_) {
         this->finish(grpc::Status::OK);
         trace(this->service().tracer(), 9, "iterator complete handler {}\n", this->id());
         return;
      }
      response_.Clear();  // keeps the memory of the element before
      Adapter::fill(response_, **iterator_);
      write(first);
   }

 private:
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

   void write(bool first) {
      trace(this->service().tracer(), 9, "iterator streaming {} to handler {}\n", response_, this->id());
      if (first) {
         this->responder().Write(response_, this->id());  // at once: the client is waiting
      } else {
         this->responder().Write(response_, gathering_, this->id());
      }
   }

   grpc::WriteOptions gathering_;  // lets the library send several messages together
   std::optional<Iterator> iterator_;
   Response response_;  // on the heap and not with the request: an arena gives nothing back before the call's end
};

}  // namespace VelmSdkRpc
