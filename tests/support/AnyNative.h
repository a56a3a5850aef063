#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <utility>

#include "tests/support/Native.h"

namespace VelmSdkRpc {

/// The keys of one controller's requests, so that those of several never meet.
struct NativeKeys {
   std::string group = "g";  // every name begins with it
   std::string ipv4 = "10";
   std::string ipv6 = "2001:db8";
   std::uint32_t lowLabel = 0;  // the first of its labels

   static constexpr std::uint32_t labels = 16;
   /// Those of a controller by its number, up to 99.
   static NativeKeys of(unsigned controller);
   /// Whether a key of the switch's tables is among them.
   bool own(std::string const& key) const;
};

/// Elements at random over few keys, so that they meet; a part of them is bad.
class AnyNative {
 public:
   AnyNative(std::uint32_t seed, std::uint32_t tag, NativeKeys keys)
      : random_(seed), tag_(tag), keys_(std::move(keys)) {}

   NativeKeys const& keys() const { return keys_; }
   int upTo(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }
   bool oneIn(int chances) { return upTo(chances) == 0; }

   /// One or more elements of one kind; pairs come alone. Redirects only where they are wanted.
   Batch batch(int most, bool redirects = true);
   /// One that is good.
   pb::cbf_nexthop_group_redirect_msg redirect();

 private:
   Element ofKind(int kind);
   pb::rpc_server_state_config_msg pairs();
   pb::nexthop_group_msg group();
   pb::nexthop_group_tunnel_msg tunnel();
   pb::ip_route_msg route();
   pb::mpls_route_msg label();
   pb::sbfd_echo_session_msg session();
   void fill(pb::nexthop_msg& nexthop);
   std::string pairKey();
   std::string groupName();
   std::string groupOrNone() { return oneIn(3) ? std::string() : groupName(); }
   std::string prefix();

   std::mt19937 random_;
   std::uint32_t const tag_;
   NativeKeys const keys_;
};

}  // namespace VelmSdkRpc
