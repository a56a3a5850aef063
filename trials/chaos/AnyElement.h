#pragma once

#include <array>

#include "tests/agent/AnyNativeRequest.h"
#include "trials/chaos/Model.h"

namespace VelmSdkRpc::chaos {

/// Elements at random of all native kinds, in keys that are one controller's own.
class AnyElement {
 public:
   AnyElement(std::uint32_t seed, unsigned controller)
      : group_(fmt::format("c{}.", controller)),
        lowLabel_(1000 * controller),
        any_(seed, tag, {group_, fmt::format("{}", 10 + controller), fmt::format("2001:db{}", controller), lowLabel_}) {
   }

   int upTo(int bound) { return any_.upTo(bound); }
   bool oneIn(int chances) { return any_.oneIn(chances); }

   /// One or more elements of one kind; pairs come alone. Redirects only where they are wanted.
   Batch batch(int most, bool redirects = true) {
      auto const kind = upTo(redirects ? 7 : 6);
      Batch elements;
      for (int left = kind == 0 ? 1 : 1 + upTo(most); left > 0; --left) elements.push_back(ofKind(kind));
      return elements;
   }
   pb::cbf_nexthop_group_redirect_msg redirect() {
      pb::cbf_nexthop_group_redirect_msg request;
      request.set_match_nexthop_group_name(fmt::format("{}{}", group_, upTo(3)));
      request.set_redirect_nexthop_group_name(fmt::format("to{}{}", group_, upTo(3)));
      for (int left = 1 + upTo(3); left > 0; --left) request.add_match_ipv4_dscp(upTo(64));
      for (int left = upTo(3); left > 0; --left) request.add_match_ipv6_dscp(upTo(64));
      return request;
   }

 private:
   Element ofKind(int kind) {
      switch (kind) {
         case 0: return any_.pairs();
         case 1: return any_.group();
         case 2: return any_.tunnel();
         case 3: return any_.route();
         case 4: return label();
         case 5: return session();
         default: {
            auto request = redirect();
            request.set_request_delete(oneIn(6));
            return request;
         }
      }
   }
   // The highest labels, which are everybody's, stand for some of our own.
   pb::mpls_route_msg label() {
      constexpr std::uint32_t highest = 1048576;
      auto request = any_.label();
      if (auto const label = request.label(); label >= highest - 100 && label < highest) {
         request.set_label(lowLabel_ + 100 + label % 100);
      }
      return request;
   }
   pb::sbfd_echo_session_msg session() {
      pb::sbfd_echo_session_msg request;
      auto& key = *request.mutable_session_key();
      key.set_outgoing_interface(fmt::format("Ethernet{}", 1 + upTo(4)));
      key.mutable_nexthop()->set_addr(std::string("\x0a\0\0\x01", 4));
      key.add_labels(lowLabel_ + upTo(3));
      request.set_track_interface_state(oneIn(2));
      request.set_rtt_enabled(oneIn(2));
      if (oneIn(2)) {
         request.set_min_tx(100 + upTo(3));
         request.set_detection_multiplier(2 + upTo(3));
      }
      request.set_request_delete(oneIn(4));
      return request;
   }

   std::string const group_;
   std::uint32_t const lowLabel_;
   AnyNativeRequest any_;
};

}  // namespace VelmSdkRpc::chaos
