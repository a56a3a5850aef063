#pragma once

#include <string>
#include <utility>

#include "rpc/GrpcService.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {

/// Base of the mirrors: a service of schema `Schema` through which remote clients see the SDK's manager `Mgr`. A
/// concrete mirror arms one handler per method; a call converts its request, calls the manager and converts the result.
/// It keeps no state of the manager's, checks nothing but what a conversion checks, and reports the SDK's errors as
/// they come.
///
/// A mirror with a watch derives from the manager's handler as well. Its SDK callbacks run on the main loop, under the
/// SDK lock, and publish to the subscriptions, at once or through a ServiceBacklog; all else is the server thread's. A
/// watch replays nothing: a client that needs the present state reads it after the marker.
///
///    SDK callback ---> [ServiceBacklog: the newest event of a key] ---> publish ---> each handler's queue ---> Write
///    main loop         the backlog's task, on the main loop                          server thread
template <class Schema, class Mgr>
class MirrorService : public GrpcService {
 public:
   using AsyncService = typename Schema::AsyncService;

   void registerRpcService(grpc::ServerBuilder& builder) override { builder.RegisterService(&asyncService_); }
   AsyncService& asyncService() { return asyncService_; }
   /// The manager, for the adapters, which are called under the SDK lock.
   Mgr& mgr() const { return *mgr_; }

   /// Who watches. Empty for ever in a mirror without a watch.
   SubscriptionController<MirrorService>& subscriptions() { return subscriptions_; }
   // For the subscriptions: the first has come, the last has gone. Under the SDK lock.
   void startWatching() { watchIs(true); }
   void stopWatching() { watchIs(false); }

 protected:
   /// The manager stays the caller's and must outlive the service. `name` is the facility of the trace lines.
   MirrorService(std::string name, Mgr* mgr) : GrpcService(std::move(name)), mgr_(mgr) {}

   /// Switches the SDK's events on for the first subscriber, and off after the last. Under the SDK lock. A mirror whose
   /// events always flow, or that has none, has nothing to do.
   virtual void watchIs(bool /*on*/) {}

 private:
   AsyncService asyncService_;
   Mgr* const mgr_;
   SubscriptionController<MirrorService> subscriptions_{*this};
};

}  // namespace VelmSdkRpc
