#pragma once

#include "platform/velm/vapi.h"
#include "proto/remote/vapi.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors the switch's command API, without a watch. A command that fails is not a failed RPC: the answer tells. A
/// long command holds up every other call, and the switch's events, for as long as it runs.
class VapiService : public MirrorService<velm::remote::VapiMgrService, velm::vapi_mgr> {
 public:
   explicit VapiService(velm::vapi_mgr* mgr) : MirrorService("vapi", mgr) {}

   void startHandlers() override;
};

}  // namespace VelmSdkRpc
