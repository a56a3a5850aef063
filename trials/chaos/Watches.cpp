#include "trials/chaos/Watches.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include "proto/remote/agent.grpc.pb.h"
#include "proto/remote/bgp_path.grpc.pb.h"
#include "proto/remote/eth_lag_intf.grpc.pb.h"
#include "proto/remote/intf.grpc.pb.h"
#include "proto/remote/ip_intf.grpc.pb.h"
#include "proto/remote/macsec.grpc.pb.h"
#include "proto/remote/mpls_route.grpc.pb.h"
#include "proto/remote/nexthop_group.grpc.pb.h"
#include "proto/remote/policy_map.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::chaos {
namespace {

namespace remote = velm::remote;
using Channel = std::shared_ptr<grpc::Channel>;

template <class Stub, class Response>
class Watch final : public AnyWatch {
 public:
   template <class Request>
   Watch(std::unique_ptr<Stub> stub,
         std::unique_ptr<grpc::ClientReader<Response>> (Stub::*watch)(grpc::ClientContext*, Request const&),
         Request const& request)
      : stub_(std::move(stub)), reader_(((*stub_).*watch)(&context_, request)) {}
   ~Watch() override {
      cancel();
      if (!finished_) finish();
   }

   std::optional<std::vector<std::string>> next() override {
      Response response;
      if (!reader_->Read(&response)) return std::nullopt;
      std::vector<std::string> events;
      if constexpr (requires { response.bulk(); }) {
         for (auto const& element : response.bulk()) events.push_back(element.ShortDebugString());
      } else {
         events.push_back(response.ShortDebugString());
      }
      return events;
   }
   void cancel() override { context_.TryCancel(); }
   grpc::Status finish() override {
      finished_ = true;
      return reader_->Finish();
   }

 private:
   grpc::ClientContext context_;
   std::unique_ptr<Stub> const stub_;
   std::unique_ptr<grpc::ClientReader<Response>> reader_;
   bool finished_ = false;
};

template <class Stub, class Request, class Response>
std::unique_ptr<AnyWatch> open(std::unique_ptr<Stub> stub,
                               std::unique_ptr<grpc::ClientReader<Response>> (Stub::*watch)(grpc::ClientContext*,
                                                                                            Request const&)) {
   Request request;
   if constexpr (requires { request.set_all(true); }) request.set_all(true);
   if constexpr (requires { request.set_notify_ready(true); }) request.set_notify_ready(true);
   return std::make_unique<Watch<Stub, Response>>(std::move(stub), watch, request);
}
template <class Service>
std::unique_ptr<AnyWatch> mirror(Channel const& channel) {
   return open(Service::NewStub(channel), &Service::Stub::watch);
}
std::unique_ptr<AnyWatch> sbfd(Channel const& channel) {
   return open(pb::velmsdk_service::NewStub(channel), &pb::velmsdk_service::Stub::watch_sbfd_echo_session_status_msgs);
}

/// {n} is the key, {i} the turn and {b} its parity; commands are parted by semicolons.
struct Kind {
   char const* name;
   std::unique_ptr<AnyWatch> (*open)(Channel const&);
   char const* event;
   char const* lastEvent;
   char const* text;
   char const* lastText;
};
std::array<Kind, watchKinds> const kinds{{
   {"agent", mirror<remote::AgentService>, "agent option o{n} {i}", "agent option o{n} last", "\"o{n}\"",
    "value: \"last\""},
   {"bgp", mirror<remote::BgpPathMgrService>,
    "simulate bgp path 10.{n}.0.0/16 peer 10.0.0.1 vrf default med {i};simulate bgp converged ipv{v} {w}",
    "simulate bgp converged ipv{v} true", "IPV{v} converged:", "converged: true"},
   {"lag", mirror<remote::EthLagIntfMgrService>, "simulate port-channel Port-Channel{n} speed {i}",
    "simulate port-channel Port-Channel{n} speed 77777", "\"Port-Channel{n}\"", "speed: 77777"},
   {"intf", mirror<remote::IntfMgrService>,
    "simulate interface Ethernet{n} oper {o};interface Ethernet{n};description {i}",
    "simulate interface Ethernet{n} oper up;interface Ethernet{n};description last",
    "\"Ethernet{n}\" }} description:", "\"last\""},
   {"ip-intf", mirror<remote::IpIntfMgrService>, "simulate ip interface Ethernet{n} vlan {i}",
    "simulate ip interface Ethernet{n} vlan 4094", "\"Ethernet{n}\"", "vlan_id: 4094"},
   {"macsec", mirror<remote::MacsecMgrService>, "simulate macsec Ethernet{n} key-status {b} traffic-status 1",
    "simulate macsec Ethernet{n} key-status 2 traffic-status 1", "\"Ethernet{n}\"", "STATUS_PRIMARY"},
   {"mpls", mirror<remote::MplsRouteMgrService>, "simulate mpls fec 90000{n} set;simulate mpls fec 90000{n} delete",
    "simulate mpls fec 90000{n} delete", "id: 90000{n}", "on_mpls_fec_del"},
   {"nexthop-group", mirror<remote::NexthopGroupMgrService>, "simulate nexthop-group w{n} programmed {i}",
    "simulate nexthop-group w{n} programmed 65000", "\"w{n}\"", "version: 65000"},
   {"policy-map", mirror<remote::PolicyMapMgrService>, "simulate policy-map w{n} feature 1 config-set",
    "simulate policy-map w{n} feature 1 sync-fail last", "\"w{n}\"", "\"last\""},
   {"sbfd", sbfd, "simulate sbfd Ethernet{n} 10.0.0.9 labels 99 dscp 0 exp 0 status {b}",
    "simulate sbfd Ethernet{n} 10.0.0.9 labels 99 dscp 0 exp 0 status 4",
    "\"Ethernet{n}\" nexthop {{ addr: \"\\n\\000\\000\\t\" }}", "STATUS_ADMIN_DOWN"},
}};

std::string filled(char const* text, int key, int turn) {
   bool const odd = turn % 2 == 1;
   return fmt::format(fmt::runtime(text), fmt::arg("n", key), fmt::arg("i", 1 + turn % 4000),
                      fmt::arg("b", odd ? 1 : 0), fmt::arg("o", odd ? "up" : "down"),
                      fmt::arg("w", odd ? "true" : "false"), fmt::arg("v", key % 2 == 0 ? 4 : 6));
}

void raise(storm::Console const& console, char const* Kind::*event, int turn) {
   std::vector<std::string> commands;
   for (auto const& kind : kinds) {
      for (int key = 1; key <= 4; ++key) {
         auto const text = filled(kind.*event, key, turn);
         for (std::size_t at = 0; at < text.size();) {
            auto const end = std::min(text.find(';', at), text.size());
            commands.push_back(text.substr(at, end - at));
            at = end + 1;
         }
      }
   }
   console.configure(commands);
}

}  // namespace

char const* nameOf(std::size_t kind) { return kinds.at(kind).name; }

std::unique_ptr<AnyWatch> watch(std::size_t kind, Channel const& channel) { return kinds.at(kind).open(channel); }

LastStates::LastStates(std::size_t kind) : heard_(keys, false) {
   for (int key = 1; key <= keys; ++key) {
      texts_.push_back(filled(kinds.at(kind).text, key, 0));
      final_.push_back(filled(kinds.at(kind).lastText, key, 0));
   }
}

void LastStates::hear(std::string const& event) {
   for (std::size_t i = 0; i < texts_.size(); ++i) {
      if (event.find(texts_[i]) != std::string::npos) heard_[i] = event.find(final_[i]) != std::string::npos;
   }
}

bool LastStates::allHeard() const { return std::ranges::all_of(heard_, std::identity()); }

void prepareEvents(storm::Console const& console, Channel const& channel) {
   auto const stub = remote::MacsecMgrService::NewStub(channel);
   grpc::ClientContext context;
   remote::MacsecProfileSetRequest request;
   request.mutable_profile()->set_name("m");
   remote::MacsecProfileSetResponse response;
   stub->profile_set(&context, request, &response);
   for (int key = 1; key <= 4; ++key) {
      console.configure({fmt::format("interface Port-Channel{}", key), fmt::format("interface Ethernet{}", key),
                         "mac security profile m"});
   }
}

void raiseEvents(storm::Console const& console, int turn) { raise(console, &Kind::event, turn); }
void raiseLastEvents(storm::Console const& console) { raise(console, &Kind::lastEvent, 1); }

}  // namespace VelmSdkRpc::chaos
