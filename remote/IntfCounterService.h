#pragma once

#include "proto/remote/intf_counter.grpc.pb.h"
#include "rpc/GrpcService.h"

namespace velm {
class intf_counter_mgr;
}

namespace VelmSdkRpc {

/// Mirrors the counters and rates of interfaces. Server thread only.
class IntfCounterService : public GrpcService {
 public:
   using AsyncService = velm::remote::IntfCounterMgrService::AsyncService;

   /// The manager stays the caller's.
   explicit IntfCounterService(velm::intf_counter_mgr* mgr);

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;
   AsyncService& asyncService() { return asyncService_; }
   velm::intf_counter_mgr& mgr() const { return *mgr_; }

 private:
   velm::intf_counter_mgr* mgr_;
   AsyncService asyncService_;
};

}  // namespace VelmSdkRpc
