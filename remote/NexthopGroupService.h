#pragma once

#include "platform/velm/nexthop_group.h"
#include "proto/remote/nexthop_group.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors the nexthop groups of the switch, as they were asked for and as they are programmed.
///
/// Its watch brings every event, as it comes and in order: they are small, and a client that waits for a version to be
/// programmed must not miss it. A client chooses one group or all; one that chooses nothing gets the marker alone.
class NexthopGroupService : public MirrorService<velm::remote::NexthopGroupMgrService, velm::nexthop_group_mgr>,
                            public velm::nexthop_group_handler_v2 {
 public:
   explicit NexthopGroupService(velm::nexthop_group_mgr* mgr)
      : MirrorService("nexthop_group", mgr), nexthop_group_handler_v2(mgr) {}

   void startHandlers() override;
   void watchIs(bool on) override { watch_all_nexthop_groups(on); }

   void on_nexthop_group_active(std::string const& name, bool active) override;
   void on_nexthop_group_programmed(std::string const& name, unsigned short version) override;
};

}  // namespace VelmSdkRpc
