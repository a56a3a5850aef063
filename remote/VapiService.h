#pragma once

#include "proto/remote/vapi.grpc.pb.h"
#include "rpc/GrpcService.h"

namespace velm {
class vapi_mgr;
}

namespace VelmSdkRpc {

/// Mirrors the switch's command API. A command that fails is not a failed RPC: the answer tells. A long command holds
/// up every other call, and the switch's events, for as long as it runs.
class VapiService : public GrpcService {
 public:
   using AsyncService = velm::remote::VapiMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit VapiService(velm::vapi_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;

   AsyncService& asyncService() { return asyncService_; }
   velm::vapi_mgr& mgr() const { return *mgr_; }

 private:
   AsyncService asyncService_;
   velm::vapi_mgr* mgr_;
};

}  // namespace VelmSdkRpc
