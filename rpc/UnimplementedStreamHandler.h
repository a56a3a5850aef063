#pragma once

#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {

/// Stands in for a streaming method that is not built yet. A method without an armed handler would leave its callers
/// waiting until their deadline.
template <class Adapter, class Request, class Response, class Service>
class UnimplementedStreamHandler final
   : public GenericRequestHandler<UnimplementedStreamHandler<Adapter, Request, Response, Service>, Request, Response,
                                  Service, true> {
 public:
   using UnimplementedStreamHandler::GenericRequestHandler::GenericRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      this->stateIs(HandlerState::Finished);
      this->responder().Finish(grpc::Status(grpc::StatusCode::UNIMPLEMENTED, ""), this->id());
   }
};

}  // namespace VelmSdkRpc
