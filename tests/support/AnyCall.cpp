#include "tests/support/AnyCall.h"

#include <array>

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
namespace {

std::string bytesOf(grpc::ByteBuffer const& buffer) {
   std::vector<grpc::Slice> slices;
   std::string bytes;
   if (buffer.Dump(&slices).ok()) {
      for (auto const& slice : slices) bytes.append(reinterpret_cast<char const*>(slice.begin()), slice.size());
   }
   return bytes;
}

}  // namespace

AnyOutcome anyCall(std::shared_ptr<grpc::Channel> const& channel, google::protobuf::MethodDescriptor const& method,
                   std::string const& request, std::chrono::milliseconds timeout) {
   grpc::CompletionQueue queue;
   Context context(timeout);
   grpc::GenericStub stub(channel);
   auto const call = stub.PrepareCall(&context, "/" + method.service()->full_name() + "/" + method.name(), &queue);
   auto const await = [&] {
      void* tag = nullptr;
      bool ok = false;
      return queue.Next(&tag, &ok) && ok;
   };
   AnyOutcome outcome;
   call->StartCall(nullptr);
   await();
   grpc::Slice const slice(request);
   call->WriteLast(grpc::ByteBuffer(&slice, 1), grpc::WriteOptions(), nullptr);
   await();
   for (;;) {
      grpc::ByteBuffer message;
      call->Read(&message, nullptr);
      if (!await()) break;
      auto* const factory = google::protobuf::MessageFactory::generated_factory();
      outcome.responses.emplace_back(factory->GetPrototype(method.output_type())->New());
      outcome.responses.back()->ParseFromString(bytesOf(message));
   }
   call->Finish(&outcome.status, nullptr);
   await();
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

}  // namespace VelmSdkRpc
