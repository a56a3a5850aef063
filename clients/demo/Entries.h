#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// What a controller programs, in its own words. Addresses and prefixes are text, IPv4 or IPv6.
namespace VelmSdkRpc::demo {

/// One way out: packets leave by the interface to the neighbour.
struct Hop {
   std::string intf;
   std::string neighbour;
   std::uint32_t label = 0;   // that packets get on the way; 0 where they get none
   std::uint32_t weight = 1;  // share of its group's traffic; 0 takes no part

   auto operator<=>(Hop const&) const = default;
};

/// Packets that leave through it get the label of the hop that they take.
struct Group {
   std::string name;
   std::vector<Hop> hops;
};

struct Route {
   std::string prefix;  // "10.1.2.0/24"
   std::string group;   // the nexthop group to leave through
   std::uint32_t tag = 0;

   auto operator<=>(Route const&) const = default;
};

/// What is done to the label of an incoming packet. The numbers are the switch's.
enum class LabelAction : std::uint32_t { push = 1, pop = 2, swap = 3, forward = 4 };

struct ToNexthop {
   LabelAction action = LabelAction::swap;  // or push or pop; a pop needs no label of the hop
   Hop hop;

   auto operator<=>(ToNexthop const&) const = default;
};

struct ToGroup {
   LabelAction action = LabelAction::forward;  // as the hops of the group say; or pop first
   std::string group;

   auto operator<=>(ToGroup const&) const = default;
};

/// The label is popped and the packet looked up in the VRF.
struct ToVrf {
   std::string vrf;

   auto operator<=>(ToVrf const&) const = default;
};

/// What becomes of packets that arrive with a label.
struct LabelRoute {
   std::uint32_t label = 0;
   std::variant<ToNexthop, ToGroup, ToVrf> way;

   auto operator<=>(LabelRoute const&) const = default;
};

struct Tunnel {
   std::string endpoint;  // "192.0.2.101/32"
   std::string group;     // the nexthop group that leads there
   std::uint32_t metric = 0;

   auto operator<=>(Tunnel const&) const = default;
};

/// Packets that would leave through one group leave through another if they carry one of these DSCP values.
struct Redirect {
   std::string match;
   std::string to;
   std::vector<std::uint32_t> ipv4Dscp;  // ascending, as below
   std::vector<std::uint32_t> ipv6Dscp;
};

/// The path that a session tests: its packets leave so, with these labels, and come back.
struct SessionKey {
   std::string intf;
   std::string neighbour;
   std::vector<std::uint32_t> labels;  // outermost first

   auto operator<=>(SessionKey const&) const = default;
};

struct Session {
   SessionKey key;
   std::uint32_t minTx = 0;       // milliseconds between two packets
   std::uint32_t multiplier = 0;  // so many lost ones take it down
   bool rtt = false;              // round-trip times are wanted
   bool tracksIntf = false;       // told down as soon as its interface is

   /// The time that it takes to notice that packets do not come back.
   std::chrono::milliseconds detection() const { return std::chrono::milliseconds(minTx) * multiplier; }
};

/// The numbers are the switch's.
enum class SessionStatus : std::uint32_t { unknown = 0, down = 1, init = 2, up = 3, adminDown = 4 };

struct SessionReport {
   SessionKey key;
   SessionStatus status = SessionStatus::unknown;

   auto operator<=>(SessionReport const&) const = default;
};

/// Round-trip times, in the switch's unit.
struct SessionRtt {
   SessionKey key;
   std::uint32_t last = 0;
   std::uint32_t min = 0;
   std::uint32_t avg = 0;
   std::uint32_t max = 0;
};

/// A note that the switch keeps for its controllers and does not read.
struct Pair {
   std::string key;
   std::string value;

   auto operator<=>(Pair const&) const = default;
};

}  // namespace VelmSdkRpc::demo
