#pragma once

#include "rpc/GenericRequestHandler.h"
#include "rpc/Method.h"

namespace VelmSdkRpc {

/// Base of a hand-written class for one unary method, named by the generated member that asks for its calls. `Derived`
/// is the class that takes the method's next call; the class itself offers `process()`:
///
///   class ExistsHandler : public NamedRequestHandler<ExistsHandler, &AsyncService::Requestexists, IntfService> {
///    public:
///      using NamedRequestHandler::NamedRequestHandler;
///      void process() override {
///         answer([this](Response& response) { response.set_exists(...); });
///      }
///   };
template <class Derived, auto post, class Service>
class NamedRequestHandler
   : public GenericRequestHandler<Derived, typename PostedMethod<decltype(post)>::Request,
                                  typename PostedMethod<decltype(post)>::Response, Service, false> {
   using Base = typename NamedRequestHandler::GenericRequestHandler;

 public:
   using Request = typename PostedMethod<decltype(post)>::Request;
   using Response = typename PostedMethod<decltype(post)>::Response;

   using Base::Base;

   static constexpr auto requestFn() { return post; }
};

}  // namespace VelmSdkRpc
