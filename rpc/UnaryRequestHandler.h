#pragma once

#include "rpc/GenericRequestHandler.h"

namespace VelmSdkRpc {

/// Serves a unary method by `Response Adapter::call(Service&, Request const&)`, which runs under the SDK lock and may
/// throw any std::exception.
template <class Adapter, class Request, class Response, class Service>
class UnaryRequestHandler final : public GenericRequestHandler<UnaryRequestHandler<Adapter, Request, Response, Service>,
                                                               Request, Response, Service, false> {
 public:
   using UnaryRequestHandler::GenericRequestHandler::GenericRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      this->respond([this] { return Adapter::call(this->service(), this->request()); });
   }
};

}  // namespace VelmSdkRpc
