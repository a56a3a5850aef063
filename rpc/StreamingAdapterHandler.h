#pragma once

#include "rpc/Method.h"
#include "rpc/WatchRequestHandler.h"

namespace VelmSdkRpc {

/// Serves a watch by an adapter, of which each call has one of its own:
///
///   struct Watch : Method<&AsyncService::Requestwatch> {
///      void subscribe(Service& service, Request const& request, void* id);
///      void cancel(Service& service, void* id);
///      bool filter(Request const& request, Response const& response) const;
///   };
template <class Adapter, class Request, class Response, class Service>
class StreamingAdapterHandler final
   : public WatchRequestHandler<StreamingAdapterHandler<Adapter, Request, Response, Service>, Request, Response,
                                Service> {
 public:
   using StreamingAdapterHandler::WatchRequestHandler::WatchRequestHandler;

   static constexpr auto requestFn() { return Adapter::post; }

   void subscribe() { adapter_.subscribe(this->service(), this->request(), this->id()); }
   void cancel() { adapter_.cancel(this->service(), this->id()); }
   bool filter(Response const& response) const { return adapter_.filter(this->request(), response); }

 private:
   Adapter adapter_;
};

/// Base of the adapters whose calls subscribe as they come and want every event, unless they have a filter of their
/// own.
template <auto post>
struct SubscribedWatch : Method<post> {
   template <class Service>
   static void subscribe(Service& service, typename Method<post>::Request const& /*request*/, void* id) {
      service.subscriptions().subscribe(id);
   }
   template <class Service>
   static void cancel(Service& service, void* id) {
      service.subscriptions().cancel(id);
   }
   static bool filter(typename Method<post>::Request const& /*request*/,
                      typename Method<post>::Response const& /*response*/) {
      return true;
   }
};

/// The class of handlers that an adapter's watch has, by which its service publishes.
template <class Adapter, class Service>
using WatchOf = StreamingAdapterHandler<Adapter, typename Adapter::Request, typename Adapter::Response, Service>;

}  // namespace VelmSdkRpc
