#pragma once

#include <grpcpp/grpcpp.h>

#include <concepts>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "platform/qor/Assert.h"
#include "platform/velm/sdk_lock.h"
#include "proto/remote/rpc_status.pb.h"
#include "rpc/Announced.h"
#include "rpc/Posting.h"
#include "rpc/RequestHandler.h"
#include "rpc/StatusTable.h"

namespace VelmSdkRpc {

/// What every kind of handler shares. `Derived` is the class that `chain` builds. A concrete handler adds
///
///   - `requestFn()`, giving the generated `Request<method>` member by which its calls are asked for, and
///   - `process()`, which for a unary method is one call of `answer`, `respond` or `respondBulk`:
///
///   class AgentIdHandler
///      : public GenericRequestHandler<AgentIdHandler, AgentIdRequest, AgentIdResponse, AgentService, false> {
///    public:
///      using GenericRequestHandler::GenericRequestHandler;
///      static constexpr auto requestFn() { return &AsyncService::Requestagent_id; }
///      void process() override {
///         respond([this] { ... return response; });
///      }
///   };
///
/// `Service` offers `asyncService()`, its generated asynchronous service.
template <class Derived, class Request, class Response, class Service, bool Streaming>
class GenericRequestHandler : public RequestHandler {
 public:
   using Responder =
      std::conditional_t<Streaming, grpc::ServerAsyncWriter<Response>, grpc::ServerAsyncResponseWriter<Response>>;

   GenericRequestHandler(HandlerSeat const& seat, Service& service)
      : RequestHandler(seat), service_(&service), responder_(&context()) {}

   /// Handlers whose constructors take more than seat and service override it.
   std::unique_ptr<RequestHandler> chain(void* id) override {
      if constexpr (std::constructible_from<Derived, HandlerSeat const&, Service&>) {
         return armed<Derived>(successorSeat(id), *service_);
      } else {
         Qor::assertionFailed("the handler overrides chain");
      }
   }

   /// Asks gRPC for the method's next call, by the generated member for it or by what postFn makes of that.
   template <class Layer>
   void postRequest(void (Layer::*requestFn)(grpc::ServerContext*, Request*, Responder*, grpc::CompletionQueue*,
                                             grpc::ServerCompletionQueue*, void*)) {
      using AsyncService = std::remove_reference_t<decltype(service_->asyncService())>;
      postRequest(postFn<AsyncService>(requestFn));
   }
   void postRequest(PostFn<Request, Responder> post) {
      post(service_->asyncService(), context(), request_, responder_, completionQueue(), id());
   }

 protected:
   Service& service() const { return *service_; }
   Request const& request() const { return request_.message(); }
   /// An empty answer that lives as long as the call, beside its request.
   Response& newResponse() { return request_.template make<Response>(); }
   Responder& responder() { return responder_; }

   /// Answers the call with what `fill(response)` makes of an empty response under the SDK lock, or with the status of
   /// what it throws. The lock is free again before the answer leaves.
   template <class Fill>
   void answer(Fill&& fill) requires(!Streaming) {
      Response& response = newResponse();
      auto const status = guarded([&] {
         velm::sdk_scoped_lock const lock;
         fill(response);
      });
      if (status.ok()) {
         responder_.Finish(response, status, id());
      } else {
         responder_.FinishWithError(status, id());
      }
   }
   /// The same with the Response that `fn` gives.
   template <class F>
   void respond(F fn) requires(!Streaming) {
      answer([&](Response& response) { response = fn(); });
   }

   /// Applies `fn` to the elements of the request in order, up to the first that fails; those before it stay applied.
   /// The response tells how many were, and why it stopped: a failed element does not fail the RPC. One SDK lock is
   /// held over the list and its answer, so that no event of the SDK comes between.
   template <class F>
   void respondBulk(F fn) requires(!Streaming) {
      respondBulk([](auto const&) {}, fn);
   }
   /// The same with announce(group) before each group of elements. It must not throw.
   template <class Announce, class F>
   void respondBulk(Announce announce, F fn) requires(!Streaming) {
      Response& response = newResponse();
      velm::sdk_scoped_lock const lock;
      auto& status = *response.mutable_status();  // present on success too
      std::uint64_t applied = 0;
      auto const outcome = guarded([&] {
         forEachAnnounced(request().requests(), announce, [&](auto const& element) {
            fn(element);
            ++applied;
         });
      });
      if (!outcome.ok()) {
         status.set_code(static_cast<velm::remote::RpcStatusCode>(outcome.error_code()));
         status.set_error_string(outcome.error_message());
      }
      response.set_count(applied);
      responder_.Finish(response, grpc::Status::OK, id());
   }

   /// Ends a stream of which nothing else is outstanding.
   void finish(grpc::Status const& status) requires(Streaming) {
      stateIs(HandlerState::Finished);
      responder_.Finish(status, id());
   }

 private:
   Service* service_;
   Responder responder_;
   IncomingRequest<Request> request_;
};

}  // namespace VelmSdkRpc
