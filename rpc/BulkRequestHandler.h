#pragma once

#include "rpc/GenericRequestHandler.h"
#include "rpc/Method.h"

namespace VelmSdkRpc {

/// Serves a bulk method by `void Adapter::call(Service&, element const&)`, which runs under the SDK lock and may throw
/// any std::exception. The request has `repeated ... requests`, the response `status` and `count`.
template <class Adapter, class Request, class Response, class Service>
class BulkRequestHandler final : public GenericRequestHandler<BulkRequestHandler<Adapter, Request, Response, Service>,
                                                              Request, Response, Service, false> {
 public:
   using BulkRequestHandler::GenericRequestHandler::GenericRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      this->respondBulk([this](auto const& element) { Adapter::call(this->service(), element); });
   }
};

/// The adapter of a bulk method whose elements are requests of a unary one: it does what that one's adapter does.
///
///   struct BulkProfileSet : BulkOf<&AsyncService::Requestbulk_profile_set, ProfileSet> {};
template <auto post, class Single>
struct BulkOf : Method<post> {
   template <class Service>
   static void call(Service& service, typename Single::Request const& element) {
      Single::call(service, element);
   }
};

}  // namespace VelmSdkRpc
