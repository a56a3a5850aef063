#pragma once

#include <cstdint>
#include <string>

#include "proto/velmsdk.pb.h"

namespace velm {
class nexthop_group_mgr;
}

namespace VelmSdkRpc {

class ClientInit;

/// Programs nexthop groups: MPLS groups, each replaced as a whole under its name, so that repeating a request changes
/// nothing. A nexthop takes as many consecutive entries as its replicate_count says, which is how a client weights it;
/// a count of 0 leaves the nexthop out.
///
/// Keeps nothing. Each request is one step under the SDK lock. Server thread only.
class NexthopGroupProgrammer {
 public:
   /// The manager stays the caller's.
   NexthopGroupProgrammer(ClientInit const& clientInit, velm::nexthop_group_mgr* nexthopGroupMgr);

   /// Sets or deletes one group. Failures stand in the status and have changed nothing. An enum's value that the schema
   /// does not list and an address whose number of bytes no family has end the process.
   void processNexthopGroupRequest(pb::nexthop_group_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processNexthopGroupBulkRequest(pb::nexthop_group_bulk_msg const& request, pb::rpc_status_bulk_msg& status);

 private:
   // Give the status; a text for the client goes into `error`. Under the SDK lock.
   std::uint32_t addUpdateNhg(pb::nexthop_group_msg const& request, std::string& error);
   std::uint32_t deleteNhg(pb::nexthop_group_msg const& request, std::string& error);

   ClientInit const& clientInit_;
   velm::nexthop_group_mgr* nexthopGroupMgr_;
};

}  // namespace VelmSdkRpc
