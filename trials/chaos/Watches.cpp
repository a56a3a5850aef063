#include "trials/chaos/Watches.h"

#include <absl/strings/str_split.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::chaos {
namespace {

constexpr int keys = 4;

/// {n} is the key, {i} the turn and {b} its parity; commands are parted by semicolons.
struct Kind {
   char const* name;
   char const* method;
   char const* event;
   char const* lastEvent;
   char const* text;
   char const* lastText;
};
std::array<Kind, watchKinds> const kinds{{
   {"agent", "AgentService.watch", "agent option o{n} {i}", "agent option o{n} last", "\"o{n}\"", "value: \"last\""},
   {"bgp", "BgpPathMgrService.watch",
    "simulate bgp path 10.{n}.0.0/16 peer 10.0.0.1 vrf default med {i};simulate bgp converged ipv{v} {w}",
    "simulate bgp converged ipv{v} true", "IPV{v} converged:", "converged: true"},
   {"lag", "EthLagIntfMgrService.watch", "simulate port-channel Port-Channel{n} speed {i}",
    "simulate port-channel Port-Channel{n} speed 77777", "\"Port-Channel{n}\"", "speed: 77777"},
   {"intf", "IntfMgrService.watch", "simulate interface Ethernet{n} oper {o};interface Ethernet{n};description {i}",
    "simulate interface Ethernet{n} oper up;interface Ethernet{n};description last",
    "\"Ethernet{n}\" }} description:", "\"last\""},
   {"ip-intf", "IpIntfMgrService.watch", "simulate ip interface Ethernet{n} vlan {i}",
    "simulate ip interface Ethernet{n} vlan 4094", "\"Ethernet{n}\"", "vlan_id: 4094"},
   {"macsec", "MacsecMgrService.watch", "simulate macsec Ethernet{n} key-status {b} traffic-status 1",
    "simulate macsec Ethernet{n} key-status 2 traffic-status 1", "\"Ethernet{n}\"", "STATUS_PRIMARY"},
   {"mpls", "MplsRouteMgrService.watch", "simulate mpls fec 90000{n} set;simulate mpls fec 90000{n} delete",
    "simulate mpls fec 90000{n} delete", "id: 90000{n}", "on_mpls_fec_del"},
   {"nexthop-group", "NexthopGroupMgrService.watch", "simulate nexthop-group w{n} programmed {i}",
    "simulate nexthop-group w{n} programmed 65000", "\"w{n}\"", "version: 65000"},
   {"policy-map", "PolicyMapMgrService.watch", "simulate policy-map w{n} feature 1 config-set",
    "simulate policy-map w{n} feature 1 sync-fail last", "\"w{n}\"", "\"last\""},
   {"sbfd", "velmsdk_service.watch_sbfd_echo_session_status_msgs",
    "simulate sbfd Ethernet{n} 10.0.0.9 labels 99 dscp 0 exp 0 status {b}",
    "simulate sbfd Ethernet{n} 10.0.0.9 labels 99 dscp 0 exp 0 status 4",
    "\"Ethernet{n}\" nexthop {{ addr: \"\\n\\000\\000\\t\" }}", "STATUS_ADMIN_DOWN"},
}};

std::string filled(char const* text, int key, int turn) {
   bool const odd = turn % 2 == 1;
   return fmt::format(fmt::runtime(text), fmt::arg("n", key), fmt::arg("i", 1 + turn % 4000),
                      fmt::arg("b", odd ? 1 : 0), fmt::arg("o", odd ? "up" : "down"),
                      fmt::arg("w", odd ? "true" : "false"), fmt::arg("v", key % 2 == 0 ? 4 : 6));
}

void raise(SwitchConsole const& console, char const* Kind::*event, int turn) {
   std::vector<std::string> commands;
   for (auto const& kind : kinds) {
      for (int key = 1; key <= keys; ++key) {
         for (auto const part : absl::StrSplit(filled(kind.*event, key, turn), ';')) commands.emplace_back(part);
      }
   }
   console.configure(commands);
}

}  // namespace

char const* nameOf(std::size_t kind) { return kinds.at(kind).name; }

std::unique_ptr<AnyStream> watch(std::size_t kind, std::shared_ptr<grpc::Channel> const& channel, bool begun) {
   auto const& method = *methodNamed(kinds.at(kind).method);
   auto const has = [&](char const* field) { return method.input_type()->FindFieldByName(field) != nullptr; };
   auto const request =
      fmt::format("{}{}", has("all") ? "all: true " : "", has("notify_ready") ? "notify_ready: true" : "");
   auto stream = std::make_unique<AnyStream>(channel, method, request, std::chrono::hours(24));
   if (begun && has("notify_ready")) stream->next();
   // The stream of sBFD has no marker; but another call on its connection is taken after it.
   if (begun && !has("notify_ready")) anyCall(channel, *methodNamed("velmsdk_service.get_rpc_server_state"), "");
   return stream;
}

LastStates::LastStates(std::size_t kind) : heard_(keys, false) {
   for (int key = 1; key <= keys; ++key) {
      texts_.push_back(filled(kinds.at(kind).text, key, 0));
      final_.push_back(filled(kinds.at(kind).lastText, key, 0));
   }
}

void LastStates::hear(google::protobuf::Message const& message) {
   if (auto const* const batch = dynamic_cast<pb::watch_sbfd_echo_session_status_msg const*>(&message);
       batch != nullptr && !batch->bulk().empty()) {
      for (auto const& event : batch->bulk()) hear(event);
      return;
   }
   auto const text = message.ShortDebugString();
   for (std::size_t i = 0; i < texts_.size(); ++i) {
      if (text.find(texts_[i]) != std::string::npos) heard_[i] = text.find(final_[i]) != std::string::npos;
   }
}

bool LastStates::allHeard() const { return std::ranges::all_of(heard_, std::identity()); }

void prepareEvents(SwitchConsole const& console, std::shared_ptr<grpc::Channel> const& channel) {
   anyCall(channel, *methodNamed("MacsecMgrService.profile_set"), "profile { name: 'm' }");
   for (int key = 1; key <= keys; ++key) {
      console.configure({fmt::format("interface Port-Channel{}", key), fmt::format("interface Ethernet{}", key),
                         "mac security profile m"});
   }
}

void raiseEvents(SwitchConsole const& console, int turn) { raise(console, &Kind::event, turn); }
void raiseLastEvents(SwitchConsole const& console) { raise(console, &Kind::lastEvent, 1); }

}  // namespace VelmSdkRpc::chaos
