#pragma once

#include "platform/velm/intf.h"
#include "proto/remote/intf_counter.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors the counters and rates of interfaces, read only and without a watch. An interface that does not exist has
/// counted nothing.
class IntfCounterService : public MirrorService<velm::remote::IntfCounterMgrService, velm::intf_counter_mgr> {
 public:
   explicit IntfCounterService(velm::intf_counter_mgr* mgr) : MirrorService("intf_counter", mgr) {}

   void startHandlers() override;
};

}  // namespace VelmSdkRpc
