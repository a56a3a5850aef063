#pragma once

#include <functional>
#include <string>

#include "rpc/BulkRequestHandler.h"
#include "rpc/GrpcService.h"
#include "rpc/Method.h"
#include "rpc/UnaryRequestHandler.h"
#include "rpc/UnimplementedStreamHandler.h"
#include "tiny.grpc.pb.h"

namespace VelmSdkRpc::Test {

namespace tiny = velm::tiny;

/// A service with one method of each kind. What a unary call or an element of a list does, the test says.
class TinyService : public GrpcService {
 public:
   using AsyncService = tiny::Tiny::AsyncService;
   static constexpr std::size_t methods = 6;

   TinyService() : GrpcService("tiny") {}

   void registerRpcService(grpc::ServerBuilder& builder) override {
      if (onRegister) onRegister(builder);
      builder.RegisterService(&asyncService_);
   }
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }

   // Set before the server runs.
   std::function<std::string(std::string const&)> onText = [](std::string const& text) { return text; };
   std::function<void(grpc::ServerBuilder&)> onRegister;

 private:
   AsyncService asyncService_;
};

/// Posts through a member pointer of its own and chains with more than the engine knows.
template <class Request, class Response>
class CallbackHandler
   : public GenericRequestHandler<CallbackHandler<Request, Response>, Request, Response, TinyService, false> {
   using Base = GenericRequestHandler<CallbackHandler, Request, Response, TinyService, false>;

 public:
   using RequestFn = void (TinyService::AsyncService::*)(grpc::ServerContext*, Request*, typename Base::Responder*,
                                                         grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*);
   using Callback = void (*)(Request const&, Response&);

   CallbackHandler(HandlerSeat const& seat, TinyService& service, RequestFn requestFn, Callback callback)
      : Base(seat, service), requestFn_(requestFn), callback_(callback) {}

   RequestFn requestFn() const { return requestFn_; }
   std::unique_ptr<RequestHandler> chain(void* id) override {
      return armed<CallbackHandler>(this->successorSeat(id), this->service(), requestFn_, callback_);
   }
   void process() override {
      Response response;
      callback_(this->request(), response);
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
   FloodHandler(HandlerSeat const& seat, TinyService& service) : GenericRequestHandler(seat, service) {
      context().AsyncNotifyWhenDone(id());
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
   static Response call(TinyService& service, Request const& request) {
      Response response;
      response.set_text(service.onText(request.text()));
      return response;
   }
};

struct BulkEcho : Method<&TinyService::AsyncService::Requestbulk_echo> {
   static void call(TinyService& service, tiny::EchoRequest const& element) { Echo::call(service, element); }
};

struct Later : Method<&TinyService::AsyncService::Requestlater> {};

inline void TinyService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Echo>(*this);
   registerAdapter<BulkRequestHandler, BulkEcho>(*this);
   arm<CallbackHandler<tiny::EchoRequest, tiny::EchoResponse>>(
      *this, &AsyncService::Requestcallback,
      [](tiny::EchoRequest const& request, tiny::EchoResponse& response) { response.set_text(request.text()); });
   arm<FloodHandler>(*this);
   arm<HoldHandler>(*this);
   registerAdapter<UnimplementedStreamHandler, Later>(*this);
}

}  // namespace VelmSdkRpc::Test
