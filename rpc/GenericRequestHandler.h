#pragma once

#include <grpcpp/grpcpp.h>

#include <concepts>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "platform/velm/sdk_lock.h"
#include "proto/remote/rpc_status.pb.h"
#include "rpc/Posting.h"
#include "rpc/RequestHandler.h"
#include "rpc/StatusTable.h"

namespace VelmSdkRpc {

/// The base of every kind of handler: the call's messages and its stub, and how a unary call is answered. `Derived` is
/// the class that `chain` builds. A concrete handler adds
///
///   - `requestFn()`, giving the generated `Request<method>` member by which its calls are asked for, and
///   - `process()`, which for a unary method is one call of `respond` or `respondBulk`.
///
/// It is made from its id and the service, or, if it is told more than that, from its id and the handler before it.
/// Most methods need no class of their own: UnaryRequestHandler and its like make one of an adapter.
///
/// `Service` offers `asyncService()`, its generated asynchronous service, beside what GrpcService has.
template <class Derived, class Request, class Response, class Service, bool Streaming>
class GenericRequestHandler : public RequestHandler {
 public:
   using Responder =
      std::conditional_t<Streaming, grpc::ServerAsyncWriter<Response>, grpc::ServerAsyncResponseWriter<Response>>;

   GenericRequestHandler(OpaqueId id, Service& service)
      : RequestHandler(id), service_(&service), responder_(&context()) {}

   std::unique_ptr<RequestHandler> chain(void* id) override {
      if constexpr (std::constructible_from<Derived, OpaqueId, Service&>) {
         return armed<Derived>(id, *service_);
      } else {
         static_assert(std::constructible_from<Derived, OpaqueId, Derived const&>,
                       "a handler is made from its id and its service, or from its id and the handler before it");
         return armed<Derived>(id, static_cast<Derived const&>(*this));
      }
   }

   /// Asks gRPC for the method's next call, by the generated member for it or by what postFn makes of that. Once.
   template <class Layer>
   void postRequest(void (Layer::*requestFn)(grpc::ServerContext*, Request*, Responder*, grpc::CompletionQueue*,
                                             grpc::ServerCompletionQueue*, void*)) {
      using AsyncService = std::remove_reference_t<decltype(service_->asyncService())>;
      postRequest(postFn<AsyncService>(requestFn));
   }
   void postRequest(PostFn<Request, Responder> post) {
      post(service_->asyncService(), context(), request_, responder_, service_->completionQueue(), id());
   }

 protected:
   Service& service() const { return *service_; }
   /// Once a call has come.
   Request const& request() const { return request_.message(); }
   /// An empty answer that lives as long as the call, beside its request. For one that is filled while the switch's
   /// tables grow: its pieces would otherwise lie between theirs.
   Response& newResponse() { return request_.template make<Response>(); }
   Responder& responder() { return responder_; }

   /// Answers the call with what `fill(response)` makes of an empty response under the SDK lock, or with the status of
   /// what it throws, and then with nothing else. The lock is free again before either leaves.
   template <class Fill>
   void respond(Fill&& fill) requires(!Streaming) {
      Response response;  // is serialised by Finish, and need not outlive it
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

   /// Calls `applyAll(elements, applied)`, which applies the elements of the request in order, counts each in `applied`
   /// when it is done, and throws at the first that fails; those before it stay applied. The response tells how many
   /// were, and why it stopped: a failed element does not fail the RPC. One SDK lock is held over the list and its
   /// answer, so that no event of the SDK comes between.
   template <class ApplyAll>
   void respondBulk(ApplyAll applyAll) requires(!Streaming) {
      Response& response = newResponse();
      velm::sdk_scoped_lock const lock;
      auto& status = *response.mutable_status();  // present on success too
      std::uint64_t applied = 0;
      auto const outcome = guarded([&] { applyAll(request().requests(), applied); });
      if (!outcome.ok()) {
         status.set_code(static_cast<velm::remote::RpcStatusCode>(outcome.error_code()));
         status.set_error_string(outcome.error_message());
      }
      response.set_count(applied);
      responder_.Finish(response, grpc::Status::OK, id());
   }

   /// Ends a stream of which nothing else is outstanding.
   void finish(grpc::Status const& status) requires(Streaming) {
      stateIs(HandlerState::Finished);  // first, for a publisher that looks now must find it so
      responder_.Finish(status, id());
   }

 private:
   Service* service_;
   Responder responder_;
   IncomingRequest<Request> request_;
};

}  // namespace VelmSdkRpc
