#pragma once

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/velm/tracer.h"
#include "rpc/RequestHandler.h"

namespace VelmSdkRpc {

/// A service of the agent: owns the handlers of its calls, those that wait and those that are being served. A concrete
/// one holds its generated asynchronous service, gives it out by `asyncService()`, and arms one handler per method.
///
/// The server thread runs the handlers and alone adds and erases them, so a handler that it has found stays. Whoever
/// publishes, on the main loop, reaches a handler by withHandler and no other way.
///
/// Lock order: the SDK lock, the mutex of a registry of handlers (SubscriptionController, SbfdEchoUpdates), the table's
/// mutex, a handler's mutexes. No handler runs with the table's mutex held.
class GrpcService {
 public:
   /// A service's index must fit into the bits that an opaque id keeps for it.
   static constexpr std::size_t svc_max = 1U << serviceIndexBits;

   /// `name` is the facility of the service's trace lines.
   explicit GrpcService(std::string name);
   virtual ~GrpcService();

   /// Adds the generated service to the builder, which must not outlive this object. Once.
   virtual void registerRpcService(grpc::ServerBuilder& builder) = 0;
   /// Arms one handler per method, in the order of the schema. Called once, on the server thread, after the server is
   /// built; takes no lock but the table's.
   virtual void startHandlers() = 0;

   GrpcService(GrpcService const&) = delete;
   GrpcService& operator=(GrpcService const&) = delete;

   std::string const& name() const { return name_; }
   velm::tracer const& tracer() const { return tracer_; }
   /// Takes the place by which the loop finds the service of an id, and registers with the builder. Once, before all
   /// else.
   void selfRegister(unsigned long index, grpc::ServerBuilder& builder);
   /// The queue on which all calls of the service are served. Set once, before startHandlers; stays the caller's.
   void completionQueueIs(grpc::ServerCompletionQueue* queue) { completionQueue_ = queue; }
   grpc::ServerCompletionQueue* completionQueue() const { return completionQueue_; }

   /// Set once, when the server stops, before its queue closes. gRPC ends the process for an alarm or an operation on a
   /// closed queue, so publishers and senders ask before they start one.
   bool stopping() const { return stopping_.load(std::memory_order_acquire); }
   void stop() { stopping_.store(true, std::memory_order_release); }

   /// An id that no other handler of this process has or had. Server thread only.
   void* nextOpaqueId();

   /// From here on events of the handler find it. Its request may have been posted before: the loop is not running, or
   /// busy with this very call.
   void registerHandler(std::unique_ptr<RequestHandler> handler);
   /// The handler, or null. Off the server thread it may go at any moment: use withHandler there.
   RequestHandler* findHandler(void* id) const;
   /// Destroys the handler, if there is one. No operation of it may be outstanding.
   void eraseHandler(void* id);
   /// Destroys all handlers, once the queue is drained: nothing of theirs is outstanding then.
   void clearHandlers();
   /// How many wait for a call, are being served, or have answered and not been erased yet.
   std::size_t handlerCount() const;

   /// Runs `fn(RequestHandler&)` with the table locked, so that the handler cannot go meanwhile. False, without having
   /// run it, if the handler has gone. `fn` may lock the handler, and must not wait or come back here.
   template <class F>
   bool withHandler(void* id, F&& fn) const {
      std::lock_guard const lock(mutex_);
      auto const it = handlers_.find(id);
      if (it == handlers_.end()) return false;
      fn(*it->second);
      return true;
   }

   /// Arms the first handler of a method; from then on each handler arms the next. `args` follow the service in the
   /// handler's constructor. For startHandlers.
   template <class Handler, class Service, class... Args>
   void arm(Service& service, Args&&... args) {
      registerHandler(armed<Handler>(nextOpaqueId(), service, std::forward<Args>(args)...));
   }

   /// Arms the first handler of the method that the adapter names, by a handler of that kind.
   template <template <class, class, class, class> class Kind, class Adapter, class Service>
   void registerAdapter(Service& service) {
      arm<Kind<Adapter, typename Adapter::Request, typename Adapter::Response, Service>>(service);
   }

 private:
   std::string const name_;
   std::unordered_map<void*, std::unique_ptr<RequestHandler>> handlers_;  // guarded by mutex_
   unsigned long index_ = 0;
   grpc::ServerCompletionQueue* completionQueue_ = nullptr;
   velm::tracer const tracer_;
   mutable std::mutex mutex_;
   std::atomic<bool> stopping_{false};
   std::uint64_t lastNumber_ = 0;
};

}  // namespace VelmSdkRpc
