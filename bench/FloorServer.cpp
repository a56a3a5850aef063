// The floor under the agent's numbers: a bare asynchronous server with the agent's messages that answers at once. Like
// the agent it has one queue, one thread, one object per call and one call of each method asked for in advance; it does
// nothing with a request but to read it.

#include <CLI/CLI.hpp>
#include <grpcpp/grpcpp.h>

#include <cstdio>
#include <string>

#include "bench/Bulk.h"
#include "rpc/Method.h"
#include "velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

using AsyncService = pb::velmsdk_service::AsyncService;

template <class Request>
void answer(Request const&, pb::rpc_status_msg& response) {
   response.set_status(pb::rpc_status_msg::STATUS_SUCCESS);
}

template <class Bulk>
void answer(Bulk const& request, pb::rpc_status_bulk_msg& response) {
   auto const count = elementsOf(request).size();
   response.mutable_status()->Reserve(count);
   for (int i = 0; i < count; ++i) response.add_status()->set_status(pb::rpc_status_msg::STATUS_SUCCESS);
}

class Event {
 public:
   virtual ~Event() = default;
   virtual void proceed(bool ok) = 0;
};

// One call of a method; its address is the tag of its events, and it deletes itself behind the last one.
template <auto post>
class Call final : public Event {
 public:
   Call(AsyncService& service, grpc::ServerCompletionQueue& queue)
      : service_(service), queue_(queue), responder_(&context_) {
      (service_.*post)(&context_, &request_, &responder_, &queue_, &queue_, this);
   }

   void proceed(bool ok) override {
      if (!ok || answered_) {
         delete this;
         return;
      }
      new Call(service_, queue_);
      answered_ = true;
      Response response;
      answer(request_, response);
      responder_.Finish(response, grpc::Status::OK, this);
   }

 private:
   using Request = typename PostedMethod<decltype(post)>::Request;
   using Response = typename PostedMethod<decltype(post)>::Response;

   AsyncService& service_;
   grpc::ServerCompletionQueue& queue_;
   grpc::ServerContext context_;
   grpc::ServerAsyncResponseWriter<Response> responder_;
   Request request_;
   bool answered_ = false;
};

int serve(std::string const& address) {
   AsyncService service;
   grpc::ServerBuilder builder;
   builder.AddListeningPort(address, grpc::InsecureServerCredentials());
   builder.RegisterService(&service);
   auto const queue = builder.AddCompletionQueue();
   auto const server = builder.BuildAndStart();
   if (!server) {
      std::fprintf(stderr, "cannot listen on %s\n", address.c_str());
      return 1;
   }
   new Call<&AsyncService::Requestip_route>(service, *queue);
   new Call<&AsyncService::Requestip_route_bulk>(service, *queue);
   new Call<&AsyncService::Requestmpls_route_bulk>(service, *queue);
   new Call<&AsyncService::Requestnexthop_group_tunnel_bulk>(service, *queue);
   void* tag = nullptr;
   bool ok = false;
   while (queue->Next(&tag, &ok)) static_cast<Event*>(tag)->proceed(ok);
   return 0;  // never: whoever started this process kills it
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   CLI::App app("Answers what the benchmarks call with success and does nothing else.");
   std::string address;
   app.add_option("--listen", address, "Address to listen on")->required();
   CLI11_PARSE(app, argc, argv);
   return VelmSdkRpc::Bench::serve(address);
}
