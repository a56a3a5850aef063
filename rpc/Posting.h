#pragma once

#include <grpcpp/grpcpp.h>
#include <grpcpp/impl/service_type.h>

#include <concepts>
#include <type_traits>

#include "rpc/IncomingRequest.h"

namespace VelmSdkRpc {

// A generated service asks for the next call of a method by its `Request...` member, which parses the request into a
// message that the caller owns. The handlers want it parsed into an IncomingRequest instead, which brings the memory
// along. So they take from the generated member only what its type tells, the layer and the messages, and call what it
// would call. All of this is settled at compile time; at run time a PostFn is one pointer.

/// The index of the method whose layer of a generated asynchronous service this is. The generator stacks a layer for
/// each method, that of the first one outermost.
template <class Stack, class Layer>
struct MethodIndex;
template <class Layer>
struct MethodIndex<Layer, Layer> : std::integral_constant<int, 0> {};
template <template <class> class Outer, class Inner, class Layer>
requires(!std::same_as<Outer<Inner>, Layer>) struct MethodIndex<Outer<Inner>, Layer>
   : std::integral_constant<int, 1 + MethodIndex<Inner, Layer>::value> {
};

/// Asks gRPC for the next call of a method, as its generated `Request...` member does, but into an IncomingRequest. The
/// tag comes out of the queue when the call arrives, with ok false when the server stops before.
template <class Request, class Responder>
using PostFn = void (*)(grpc::Service& service, grpc::ServerContext& context, IncomingRequest<Request>& request,
                        Responder& responder, grpc::ServerCompletionQueue* queue, void* tag);

/// Only generated services may call gRPC's operations for it, so this poses as one of them to take their addresses.
class Posting : private grpc::Service {
 public:
   template <int index, class Request, class Response>
   static void post(grpc::Service& service, grpc::ServerContext& context, IncomingRequest<Request>& request,
                    grpc::ServerAsyncResponseWriter<Response>& responder, grpc::ServerCompletionQueue* queue,
                    void* tag) {
      constexpr auto operation = &Posting::template RequestAsyncUnary<IncomingRequest<Request>>;
      (service.*operation)(index, &context, &request, &responder, queue, queue, tag);
   }
   template <int index, class Request, class Response>
   static void post(grpc::Service& service, grpc::ServerContext& context, IncomingRequest<Request>& request,
                    grpc::ServerAsyncWriter<Response>& responder, grpc::ServerCompletionQueue* queue, void* tag) {
      constexpr auto operation = &Posting::template RequestAsyncServerStreaming<IncomingRequest<Request>>;
      (service.*operation)(index, &context, &request, &responder, queue, queue, tag);
   }
};

/// The PostFn of the method with this generated member.
template <class AsyncService, class Layer, class Request, class Responder>
constexpr PostFn<Request, Responder> postFn(void (Layer::* /*requestFn*/)(grpc::ServerContext*, Request*, Responder*,
                                                                          grpc::CompletionQueue*,
                                                                          grpc::ServerCompletionQueue*, void*)) {
   return &Posting::post<MethodIndex<AsyncService, Layer>::value, Request>;
}

}  // namespace VelmSdkRpc
