#pragma once

#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {

/// Serves a unary method by `void Adapter::call(Service&, Request const&, Response&)`. It gets an empty response, runs
/// under the SDK lock, and may throw any std::exception: the call then fails with the status of it and without an
/// answer, however much of one was filled in.
template <class Adapter, class Request, class Response, class Service>
class UnaryRequestHandler final : public GenericRequestHandler<UnaryRequestHandler<Adapter, Request, Response, Service>,
                                                               Request, Response, Service, false> {
   static_assert(!Adapter::streams, "the method answers with a stream");

 public:
   using UnaryRequestHandler::GenericRequestHandler::GenericRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      this->respond([this](Response& response) { Adapter::call(this->service(), this->request(), response); });
   }
};

}  // namespace VelmSdkRpc
