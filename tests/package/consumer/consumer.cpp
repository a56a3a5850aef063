// A message of each package of schemas, and a stub.

#include <grpcpp/grpcpp.h>

#include "remote/vapi.pb.h"
#include "velmsdk.grpc.pb.h"

int main() {
   VelmSdkRpc::pb::ip_route_msg route;
   route.set_nexthop_group("to-core");
   velm::remote::RunShowCmdRequest request;
   request.set_command("show version");
   auto const channel = grpc::CreateChannel("unix:/nowhere", grpc::InsecureChannelCredentials());
   auto const stub = VelmSdkRpc::pb::velmsdk_service::NewStub(channel);
   VelmSdkRpc::pb::ip_route_msg copy;
   return copy.ParseFromString(route.SerializeAsString()) && copy.nexthop_group() == "to-core" &&
                request.command().size() == 12 && stub != nullptr
             ? 0
             : 1;
}
