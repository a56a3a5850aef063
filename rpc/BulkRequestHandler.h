#pragma once

#include "rpc/Announced.h"
#include "rpc/GenericRequestHandler.h"
#include "rpc/Method.h"

namespace VelmSdkRpc {

/// Serves a bulk method by `void Adapter::call(Service&, element const&)`, once for each element of the request, in
/// order, until one throws. It may throw any std::exception; those before stay applied. All run under one hold of the
/// SDK lock.
///
/// An adapter may have the switch fetch ahead what the next elements will read (forEachAnnounced). It then has
///
///   static std::optional<Converted> ahead(element const&);               without a throw
///   static void hint(Service&, std::span<Converted const>);              without a throw
///   static void call(Service&, element const&, Converted const*);
///
/// so that an element is converted once for both. `call` gets null for an element of which `ahead` made nothing.
///
/// The request is `repeated ... requests`, the response `status` and `count`: how many elements were applied, and why
/// not the next. The call itself always ends with OK.
template <class Adapter, class Request, class Response, class Service>
class BulkRequestHandler : public GenericRequestHandler<BulkRequestHandler<Adapter, Request, Response, Service>,
                                                        Request, Response, Service, false> {
   static_assert(!Adapter::streams, "the method answers with a stream");
   static_assert(
      requires(Request const& request, Response& response) {
         request.requests();
         response.mutable_status();
         response.set_count(0);
      },
      "the messages are not those of a bulk method");

 public:
   using BulkRequestHandler::GenericRequestHandler::GenericRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void process() override {
      auto& service = this->service();
      this->respondBulk([&](auto const& elements, std::uint64_t& applied) {
         if constexpr (requires { &Adapter::hint; }) {
            forEachAnnounced(
               elements, Adapter::ahead, [&](auto group) { Adapter::hint(service, group); },
               [&](auto const& element, auto const* converted) {
                  Adapter::call(service, element, converted);
                  ++applied;
               });
         } else {
            for (auto const& element : elements) {
               Adapter::call(service, element);
               ++applied;
            }
         }
      });
   }
};

/// The adapter of a bulk method whose elements are the requests of a unary one: each is what that one's adapter does.
///
///   struct BulkProfileSet : BulkOf<&AsyncService::Requestbulk_profile_set, ProfileSet> {};
template <auto post, class Single>
struct BulkOf : Method<post> {
   template <class Service>
   static void call(Service& service, typename Single::Request const& element) {
      typename Single::Response unused;  // an element has no answer of its own
      Single::call(service, element, unused);
   }
};

}  // namespace VelmSdkRpc
