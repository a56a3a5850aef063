#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>

#include "tests/support/AgentTest.h"

namespace VelmSdkRpc {

/// What the keys of requests begin with, so that those of one client are its own.
struct NativeKeys {
   std::string group = "g";
   std::string ipv4 = "10";
   std::string ipv6 = "2001:db8";
   std::uint32_t lowLabel = 0;
};

/// Requests at random over few keys, so that they meet; a part of them is bad.
class AnyNativeRequest {
 public:
   explicit AnyNativeRequest(std::uint32_t seed, std::uint32_t tag, NativeKeys keys = {})
      : random_(seed), tag_(tag), keys_(std::move(keys)) {}

   int upTo(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }
   bool oneIn(int chances) { return upTo(chances) == 0; }

   pb::nexthop_group_msg group() {
      auto request = groupMsg(oneIn(20) ? "" : groupName(), "Ethernet1", upTo(4));
      request.set_request_delete(oneIn(3));
      if (oneIn(20)) request.clear_nexthop();
      return request;
   }
   pb::nexthop_group_tunnel_msg tunnel() {
      auto request = tunnelMsg(prefix(), groupOrNone(), upTo(3));
      if (oneIn(20)) request.mutable_prefix()->set_prefix_length(129);
      return request;
   }
   pb::ip_route_msg route() {
      auto request = routeMsg(prefix(), groupOrNone(), oneIn(20) ? tag_ + 1 : tag_);
      if (oneIn(20)) request.mutable_prefix()->set_prefix_length(129);
      return request;
   }
   pb::mpls_route_msg label() {
      pb::mpls_route_msg request;
      request.set_label(oneIn(20) ? 1048576 + upTo(2) : (oneIn(2) ? keys_.lowLabel : 1048567) + upTo(8));
      switch (upTo(10)) {
         case 0: break;  // chooses no form
         case 1: request.mutable_forward_nexthop_group()->set_nexthop_group(groupName()); break;
         case 2: request = labelToGroup(request.label(), groupName()); break;
         case 3:
         case 4: request.set_pop_and_forward_vrf_name(oneIn(10) ? "" : "red"); break;
         default: fill(*request.mutable_nexthop());
      }
      request.set_request_delete(oneIn(4));
      return request;
   }
   pb::rpc_server_state_config_msg pairs() {
      pb::rpc_server_state_config_msg request;
      for (int left = upTo(3); left > 0; --left) {
         auto& pair = *request.add_set();
         pair.set_key(pairKey());
         pair.set_value(std::to_string(upTo(1000)));
      }
      for (int left = upTo(3); left > 0; --left) request.add_delete_()->set_key(pairKey());
      return request;
   }

 private:
   std::string pairKey() { return fmt::format("{}.{}", keys_.group, upTo(4)); }
   std::string groupName() { return fmt::format("{}{}", keys_.group, upTo(4)); }
   std::string groupOrNone() { return oneIn(3) ? std::string() : groupName(); }
   std::string prefix() {
      return oneIn(3) ? fmt::format("{}:{}::/48", keys_.ipv6, upTo(3))
                      : fmt::format("{}.{}.0.0/16", keys_.ipv4, upTo(5));
   }
   void fill(pb::nexthop_msg& nexthop) {
      nexthop.set_nexthop_interface("Ethernet1");
      if (oneIn(2)) nexthop.mutable_nexthop_ip()->set_addr(std::string("\x0a\0\0\x01", 4));
      nexthop.set_mpls_operation(static_cast<pb::nexthop_msg::mpls_operation_enum>(upTo(6)));
      bool const wantsNone = nexthop.mpls_operation() == pb::nexthop_msg::MPLS_OP_POP;
      for (int count = oneIn(5) ? upTo(3) : (wantsNone ? 0 : 1); count > 0; --count) {
         nexthop.add_labels(oneIn(20) ? 1048576 : upTo(1000));
      }
   }

   std::mt19937 random_;
   std::uint32_t const tag_;
   NativeKeys const keys_;
};

}  // namespace VelmSdkRpc
