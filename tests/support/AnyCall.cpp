#include "tests/support/AnyCall.h"

#include <google/protobuf/text_format.h>

#include <stdexcept>

#include "clients/support/Wire.h"
#include "proto/remote/agent.pb.h"
#include "proto/remote/bgp_path.pb.h"
#include "proto/remote/eth_lag_intf.pb.h"
#include "proto/remote/intf.pb.h"
#include "proto/remote/intf_counter.pb.h"
#include "proto/remote/ip_intf.pb.h"
#include "proto/remote/ip_route.pb.h"
#include "proto/remote/macsec.pb.h"
#include "proto/remote/mpls_route.pb.h"
#include "proto/remote/nexthop_group.pb.h"
#include "proto/remote/policy_map.pb.h"
#include "proto/remote/vapi.pb.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

AnyMessagePtr newMessage(google::protobuf::Descriptor const& type) {
   return AnyMessagePtr(google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type)->New());
}

AnyMessagePtr messageOf(google::protobuf::Descriptor const& type, std::string const& text) {
   auto message = newMessage(type);
   if (google::protobuf::TextFormat::ParseFromString(text, message.get())) return message;
   throw std::invalid_argument("no " + type.full_name() + ": " + text);
}

AnyStream::AnyStream(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
                     google::protobuf::Message const& request, std::chrono::milliseconds timeout)
   : method_(method) {
   context_.set_deadline(std::chrono::system_clock::now() + timeout);
   call_ = grpc::GenericStub(channel).PrepareCall(&context_, pathOf(method), &queue_);
   call_->StartCall(nullptr);
   await();
   call_->WriteLast(toWire(request), grpc::WriteOptions(), nullptr);
   await();
}

AnyStream::~AnyStream() {
   cancel();
   while (next()) continue;
}

bool AnyStream::await() {
   void* tag = nullptr;
   bool ok = false;
   return queue_.Next(&tag, &ok) && ok;
}

AnyMessagePtr AnyStream::next() {
   if (ended_) return nullptr;
   grpc::ByteBuffer bytes;
   call_->Read(&bytes, nullptr);
   if (await()) {
      auto message = newMessage(*method_.output_type());
      garbled_ = !fromWire(bytes, *message) || garbled_;
      return message;
   }
   ended_ = true;
   call_->Finish(&status_, nullptr);
   await();
   return nullptr;
}

AnyOutcome anyCall(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
                   std::string const& request, std::chrono::milliseconds timeout) {
   AnyStream stream(channel, method, request, timeout);
   AnyOutcome outcome;
   while (auto message = stream.next()) outcome.responses.push_back(std::move(message));
   outcome.status = stream.status();
   return outcome;
}

std::vector<google::protobuf::ServiceDescriptor const*> allServices() {
   namespace remote = velm::remote;
   std::vector<google::protobuf::ServiceDescriptor const*> services;
   // One message of each file that has a service.
   for (auto const* message :
        {pb::rpc_server_config_msg::descriptor(), remote::WatchAgentRequest::descriptor(),
         remote::BgpPathWatchRequest::descriptor(), remote::RunShowCmdRequest::descriptor(),
         remote::EthLagIntfWatchRequest::descriptor(), remote::WatchIntfRequest::descriptor(),
         remote::IntfCountersRequest::descriptor(), remote::TagRequest::descriptor(),
         remote::IpIntfWatchRequest::descriptor(), remote::MacsecWatchRequest::descriptor(),
         remote::MplsRouteWatchRequest::descriptor(), remote::WatchNexthopGroupRequest::descriptor(),
         remote::PolicyMapWatchRequest::descriptor()}) {
      services.push_back(message->file()->service(0));
   }
   return services;
}

std::vector<google::protobuf::MethodDescriptor const*> allMethods() {
   std::vector<google::protobuf::MethodDescriptor const*> methods;
   for (auto const* service : allServices()) {
      for (int i = 0; i < service->method_count(); ++i) methods.push_back(service->method(i));
   }
   return methods;
}

google::protobuf::MethodDescriptor const* methodNamed(std::string const& name) {
   for (auto const* method : allMethods()) {
      if (method->service()->name() + '.' + method->name() == name) return method;
   }
   return nullptr;
}

}  // namespace VelmSdkRpc
