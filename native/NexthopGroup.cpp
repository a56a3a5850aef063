#include "native/NexthopGroup.h"

#include <fmt/format.h>

#include <forward_list>

#include "convert/Utils.h"
#include "native/Programmer.h"
#include "platform/qor/Assert.h"
#include "platform/velm/nexthop_group.h"
#include "rpc/ProcessTrace.h"

// A group's entries are numbered, and a nexthop takes as many numbers as its weight says:
//
//    nexthops A (replicate_count 3), B (1)   --->   entries 0 A, 1 A, 2 A, 3 B
//
// The whole group is made first and set in one call, so that the switch never spreads packets over half of it.
namespace VelmSdkRpc {
namespace {

constexpr auto className = "NexthopGroupProgrammer";
constexpr std::uint32_t implicitNull = 3;  // the reserved label that says "pop before me": it is never on a packet

// The native service has one kind of group. Another number is none that a client can mean, and ends the process.
velm::nexthop_group_encap_t encapOf(pb::nexthop_group_msg const& request) {
   Qor::assertThat(request.nexthop_group_type() == pb::nexthop_group_msg::NEXTHOP_GROUP_TYPE_MPLS, "false");
   return velm::nexthop_group_encap_t::mpls;
}

velm::nexthop_group_mpls_action_t actionOf(pb::nexthop_msg const& nexthop) {
   velm::nexthop_group_mpls_action_t action;
   // Converted also where the labels will overrule it: an operation that the schema does not list ends the process.
   action.action_type_is(mplsOpToMplsAction(nexthop.mpls_operation()));
   if (nexthop.labels().empty()) return action;
   if (nexthop.labels_size() == 1 && nexthop.labels(0) == implicitNull) {
      // Implicit null asks for no label on the packet, whatever the operation says.
      action.action_type_is(velm::mpls_action_t::none);
      return action;
   }
   // The client's last label is the switch's first: a client lists from the bottom of the stack, the switch from its
   // top.
   std::forward_list<velm::mpls_label_t> stack;
   for (auto const label : nexthop.labels()) stack.push_front(velm::mpls_label_t(label));
   action.label_stack_is(stack);
   return action;
}

velm::nexthop_group_entry_t entryOf(pb::nexthop_msg const& nexthop) {
   velm::nexthop_group_entry_t entry;
   entry.mpls_action_is(actionOf(nexthop));
   entry.nexthop_is(ipAddressToIpAddr(nexthop.nexthop_ip()));
   entry.intf_is(velm::intf_id_t(nexthop.nexthop_interface()));
   return entry;
}

}  // namespace

NexthopGroupProgrammer::NexthopGroupProgrammer(ClientInit const& clientInit, velm::nexthop_group_mgr* nexthopGroupMgr)
   : clientInit_(clientInit), nexthopGroupMgr_(nexthopGroupMgr) {}

void NexthopGroupProgrammer::processNexthopGroupRequest(pb::nexthop_group_msg const& request,
                                                        pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& error) {
      velm::sdk_scoped_lock const lock;
      return request.request_delete() ? deleteNhg(request, error) : addUpdateNhg(request, error);
   });
}

void NexthopGroupProgrammer::processNexthopGroupBulkRequest(pb::nexthop_group_bulk_msg const& request,
                                                            pb::rpc_status_bulk_msg& status) {
   trace(className, 1, "processNexthopGroupBulkRequest NHGs");
   answerEach(request.nexthop_group(), status,
              [&](auto const& element, auto& answered) { processNexthopGroupRequest(element, answered); });
}

std::uint32_t NexthopGroupProgrammer::deleteNhg(pb::nexthop_group_msg const& request, std::string& error) {
   if (!nexthopGroupMgr_->exists(request.name())) {
      trace(className, 1, "Delete NHG {} ignored, not found", request.name());
      error = fmt::format("NHG {} not found", request.name());
      return pb::rpc_status_msg::STATUS_NOT_FOUND;
   }
   trace(className, 1, "Delete NHG {}", request.name());
   nexthopGroupMgr_->nexthop_group_del(request.name());
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

std::uint32_t NexthopGroupProgrammer::addUpdateNhg(pb::nexthop_group_msg const& request, std::string& error) {
   if (request.name().empty()) {
      return refuse(className, error, fmt::format("Error: NHG name required, request {}", request));
   }
   if (request.nexthop().empty()) {
      return refuse(className, error,
                    fmt::format("Error: NHG {} has no nexthops, request {}", request.name(), request));
   }
   trace(className, 1, "Programming {}", request);
   velm::nexthop_group_t group(request.name(), encapOf(request));
   group.counters_unshared_is(request.counters_unshared());
   group.autosize_is(request.autosize());
   std::uint16_t index = 0;  // goes on over all nexthops; past 65535 it wraps and overwrites, unchecked
   for (auto const& nexthop : request.nexthop()) {
      auto const entry = entryOf(nexthop);
      for (std::uint32_t n = nexthop.replicate_count(); n > 0; --n) group.nexthop_set(index++, entry);
   }
   nexthopGroupMgr_->nexthop_group_set(group);
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

}  // namespace VelmSdkRpc
