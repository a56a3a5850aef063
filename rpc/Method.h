#pragma once

#include <grpcpp/grpcpp.h>

namespace VelmSdkRpc {

/// What the type of a generated `Request<method>` member tells of its method.
template <class RequestFn>
struct PostedMethod;

template <template <class> class Responder, class Layer, class RequestMessage, class ResponseMessage>
struct PostedMethod<void (Layer::*)(grpc::ServerContext*, RequestMessage*, Responder<ResponseMessage>*,
                                    grpc::CompletionQueue*, grpc::ServerCompletionQueue*, void*)> {
   using Request = RequestMessage;
   using Response = ResponseMessage;
};

/// Base of an adapter: names a method of a service by the generated member that asks for its calls.
///
///   struct Exists : Method<&AsyncService::Requestexists> {
///      static Response call(IpIntfService& service, Request const& request);
///   };
///   registerAdapter<UnaryRequestHandler, Exists>(*this);
template <auto post_>
struct Method : PostedMethod<decltype(post_)> {
   static constexpr auto post = post_;
};

}  // namespace VelmSdkRpc
