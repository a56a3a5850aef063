#pragma once

#include <grpcpp/grpcpp.h>

#include <concepts>

namespace VelmSdkRpc {

/// The facts that the type of a generated `Request<method>` member tells of its method: the messages, and whether the
/// answer is a stream of them.
template <class RequestFn>
struct PostedMethod;

template <template <class> class Responder, class Layer, class RequestMessage, class ResponseMessage>
struct PostedMethod<void (Layer::*)(grpc::ServerContext*, RequestMessage*, Responder<ResponseMessage>*,
                                    grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*)> {
   using Request = RequestMessage;
   using Response = ResponseMessage;
   static constexpr bool streams = std::same_as<Responder<ResponseMessage>, grpc::ServerAsyncWriter<ResponseMessage>>;
};

/// Base of an adapter: names a method of a service by the generated member that asks for its calls. The adapter adds
/// what its kind of handler calls, as static functions, and `startHandlers` of the service says which kind that is:
///
///   struct Exists : Method<&AsyncService::Requestexists> {
///      static void call(IpIntfService& service, Request const& request, Response& response);
///   };
///   registerAdapter<UnaryRequestHandler, Exists>(*this);
///
/// The kinds, and what of the adapter each calls:
///
///   UnaryRequestHandler         one request, one answer                      call
///   BulkRequestHandler          a list of requests, how far it was applied   call, for each element
///   IteratorStreamingHandler    a table, one message an element              call for the iterator, fill for a message
///   StreamingAdapterHandler     events, until the client goes                subscribe, cancel, filter
///
/// One that does not fit what the schema says of the method does not compile.
template <auto post_>
struct Method : PostedMethod<decltype(post_)> {
   static constexpr auto post = post_;
};

}  // namespace VelmSdkRpc
