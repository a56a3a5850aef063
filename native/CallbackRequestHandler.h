#pragma once

#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {

class VelmSdkRpcService;

/// A unary call of the native service: a member function of an owner, which knows nothing of gRPC, answers the request.
/// The gRPC status is always OK; failure stands in the response. What the owner throws ends the process. Runs on the
/// server thread without a lock: the owner takes the SDK lock for as long as it must.
///
/// `Name` is the address of a constant that no other instantiation has; it only keeps handlers of like types apart.
template <class Request, class Response, class Owner, char const* Name>
class CallbackRequestHandler : public GenericRequestHandler<CallbackRequestHandler<Request, Response, Owner, Name>,
                                                            Request, Response, VelmSdkRpcService, false> {
   using Base = GenericRequestHandler<CallbackRequestHandler, Request, Response, VelmSdkRpcService, false>;

 public:
   using RequestFn = PostFn<Request, typename Base::Responder>;
   using Callback = void (Owner::*)(Request const&, Response&);

   CallbackRequestHandler(OpaqueId id, VelmSdkRpcService& service, RequestFn requestFn, Owner* owner, Callback callback)
      : Base(id, service), requestFn_(requestFn), owner_(owner), callback_(callback) {}
   /// The successor of a handler, for the next call of its method.
   CallbackRequestHandler(OpaqueId id, CallbackRequestHandler const& before)
      : CallbackRequestHandler(id, before.service(), before.requestFn_, before.owner_, before.callback_) {}

   RequestFn requestFn() const { return requestFn_; }

   void process() override {
      Response& response = this->newResponse();
      (owner_->*callback_)(this->request(), response);
      this->responder().Finish(response, grpc::Status::OK, this->id());
   }

 private:
   RequestFn requestFn_;  // asks gRPC for the method's next call
   Owner* owner_;         // not owned
   Callback callback_;
};

}  // namespace VelmSdkRpc
