#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/velm/errors.h"
#include "platform/velm/iter.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/GrpcService.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/Method.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/SubscriptionController.h"
#include "rpc/UnaryRequestHandler.h"
#include "tiny.grpc.pb.h"

namespace VelmSdkRpc::Test {

namespace tiny = velm::tiny;

/// A service with one method of each kind. What a unary call or an element of a list does, the test says.
class TinyService : public GrpcService {
 public:
   using AsyncService = tiny::Tiny::AsyncService;
   static constexpr std::size_t methods = 7;

   TinyService() : GrpcService("tiny") {}

   void registerRpcService(grpc::ServerBuilder& builder) override {
      if (onRegister) onRegister(builder);
      builder.RegisterService(&asyncService_);
   }
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }

   /// What the method of this name does, without the SDK lock.
   void onCallback(std::function<void()> work) {
      std::lock_guard const lock(callbackMutex_);
      callback_ = std::move(work);
   }

   // Set before the server runs.
   std::function<std::string(std::string const&)> onText = [](std::string const& text) { return text; };
   std::function<void(grpc::ServerBuilder&)> onRegister;
   std::function<void()> onWatching;

   /// To the watches, as the main loop does it.
   void publish(std::string const& key, std::string const& text);
   void startWatching() {
      ++starts;
      if (onWatching) onWatching();
   }
   void stopWatching() { ++stops; }

   SubscriptionController<TinyService>& subscriptions() { return subscriptions_; }
   std::atomic<int> starts{0};
   std::atomic<int> stops{0};
   std::atomic<std::uint64_t> steps{0};  // of all iterators

 private:
   std::function<void()> callback() {
      std::lock_guard const lock(callbackMutex_);
      return callback_;
   }

   AsyncService asyncService_;
   SubscriptionController<TinyService> subscriptions_{*this};
   std::mutex callbackMutex_;
   std::function<void()> callback_ = [] {};  // guarded by callbackMutex_
};

/// Posts through a function pointer of its own and chains with more than the engine knows.
template <class Request, class Response>
class CallbackHandler
   : public GenericRequestHandler<CallbackHandler<Request, Response>, Request, Response, TinyService, false> {
   using Base = GenericRequestHandler<CallbackHandler, Request, Response, TinyService, false>;

 public:
   using RequestFn = PostFn<Request, typename Base::Responder>;
   using Callback = void (*)(TinyService&, Request const&, Response&);

   CallbackHandler(OpaqueId id, TinyService& service, RequestFn requestFn, Callback callback)
      : Base(id, service), requestFn_(requestFn), callback_(callback) {}
   CallbackHandler(OpaqueId id, CallbackHandler const& before)
      : CallbackHandler(id, before.service(), before.requestFn_, before.callback_) {}

   RequestFn requestFn() const { return requestFn_; }
   void process() override {
      Response response;
      callback_(this->service(), this->request(), response);
      this->responder().Finish(response, grpc::Status::OK, this->id());
   }

 private:
   RequestFn const requestFn_;
   Callback const callback_;
};

class HoldHandler
   : public GenericRequestHandler<HoldHandler, tiny::EchoRequest, tiny::EchoResponse, TinyService, true> {
 public:
   using GenericRequestHandler::GenericRequestHandler;
   static constexpr auto requestFn() { return &TinyService::AsyncService::Requesthold; }
   void process() override { stateIs(HandlerState::Active); }
};

/// Asks for the event of the call's end, which may come while a Write is in flight.
class FloodHandler
   : public GenericRequestHandler<FloodHandler, tiny::EchoRequest, tiny::EchoResponse, TinyService, true> {
 public:
   FloodHandler(OpaqueId id, TinyService& service) : GenericRequestHandler(id, service) {
      context().AsyncNotifyWhenDone(id);
      message_.set_text(std::string(100'000, 'x'));
   }
   static constexpr auto requestFn() { return &TinyService::AsyncService::Requestflood; }
   void process() override {
      if (!context().IsCancelled()) {
         stateIs(HandlerState::Active);
         responder().Write(message_, id());
      } else if (ended_) {
         stateIs(HandlerState::Finished);
         responder().Finish(grpc::Status::OK, id());
      }
      ended_ = context().IsCancelled();  // the Write's own event is still to come
   }

 private:
   tiny::EchoResponse message_;
   bool ended_ = false;
};

struct Echo : Method<&TinyService::AsyncService::Requestecho> {
   static void call(TinyService& service, Request const& request, Response& response) {
      response.set_text(service.onText(request.text()));
   }
};

struct BulkEcho : BulkOf<&TinyService::AsyncService::Requestbulk_echo, Echo> {};

struct Watch : SubscribedWatch<&TinyService::AsyncService::Requestwatch> {
   static bool filter(Request const& request, Response const& response) {
      return request.key().empty() || request.key() == response.key();
   }
};

inline void TinyService::publish(std::string const& key, std::string const& text) {
   velm::sdk_scoped_lock const lock;
   tiny::WatchResponse response;
   response.set_key(key);
   response.set_text(text);
   subscriptions().publishA<WatchOf<Watch, TinyService>>(response);
}

/// Counts up to a bound.
class Numbers : public velm::iter_impl<std::uint64_t> {
 public:
   Numbers(TinyService& service, std::uint64_t count) : service_(service), count_(count) {}
   std::unique_ptr<velm::iter_impl<std::uint64_t>> clone() const override { return std::make_unique<Numbers>(*this); }
   std::uint64_t const* current() const override { return number_ < count_ ? &number_ : nullptr; }
   void advance() override {
      service_.steps += velm::sdk_scoped_lock::held() ? 1 : 1'000'000;
      ++number_;
   }

 private:
   TinyService& service_;
   std::uint64_t number_ = 0;
   std::uint64_t count_;
};

struct Items : Method<&TinyService::AsyncService::Requestitems> {
   static velm::iter_base<std::uint64_t> call(TinyService& service, Request const& request) {
      if (!request.error().empty()) throw velm::configuration_error(request.error());
      return velm::iter_base<std::uint64_t>(std::make_unique<Numbers>(service, request.count()));
   }
   static void fill(Response& response, std::uint64_t number) { response.set_number(number); }
};

inline void TinyService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Echo>(*this);
   registerAdapter<BulkRequestHandler, BulkEcho>(*this);
   arm<CallbackHandler<tiny::EchoRequest, tiny::EchoResponse>>(
      *this, postFn<AsyncService>(&AsyncService::Requestcallback),
      [](TinyService& service, tiny::EchoRequest const& request, tiny::EchoResponse& response) {
         service.callback()();
         response.set_text(request.text());
      });
   arm<FloodHandler>(*this);
   arm<HoldHandler>(*this);
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, Items>(*this);
}

}  // namespace VelmSdkRpc::Test
