#pragma once

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

}  // namespace VelmSdkRpc
