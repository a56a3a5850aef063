#pragma once

#include "rpc/WatchRequestHandler.h"

namespace VelmSdkRpc {

/// Base of a hand-written watch, which gives `requestFn()`, `subscribe` and `cancel`, and `filter` where a call does
/// not want every event.
template <class Derived, class Request, class Response, class Service>
class StreamingRequestHandler : public WatchRequestHandler<Derived, Request, Response, Service> {
 public:
   using StreamingRequestHandler::WatchRequestHandler::WatchRequestHandler;

   virtual void subscribe() = 0;
   virtual void cancel() = 0;
   virtual bool filter(Response const& /*response*/) const { return true; }
};

}  // namespace VelmSdkRpc
