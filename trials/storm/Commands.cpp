#include "trials/storm/Commands.h"

#include <fmt/format.h>

#include <array>
#include <span>
#include <string_view>

namespace VelmSdkRpc::storm {
namespace {

// {i} an interface, {g} a group, {n} a name, {v} a VRF, {p} a prefix, {a} an address with its length, {h} an address,
// {l} labels, {0} to {9} a number up to that, {N} any number.
constexpr std::array<std::string_view, 22> showCommands{"show version",
                                                        "show interfaces",
                                                        "show interfaces {i}",
                                                        "show ip route",
                                                        "show ip route vrf {v} {p}",
                                                        "show ip route limit {N}",
                                                        "show ip route summary",
                                                        "show mpls route",
                                                        "show nexthop-group",
                                                        "show nexthop-group {g}",
                                                        "show nexthop-group tunnel",
                                                        "show sbfd echo",
                                                        "show acl",
                                                        "show class-map",
                                                        "show policy-map",
                                                        "show macsec",
                                                        "show port-channel",
                                                        "show bgp path",
                                                        "show agent",
                                                        "show switch calls",
                                                        "show switch watches",
                                                        "show switch tasks"};

constexpr std::array<std::string_view, 54> configCommands{
   "interface {i}",
   "interface {i}",
   "exit",
   "no interface {i}",
   "shutdown",
   "no shutdown",
   "description {n}",
   "no description",
   "ip address {a}",
   "no ip address",
   "no ip address {a}",
   "channel-group {3} mode active",
   "channel-group {3} mode on",
   "no channel-group",
   "mac security profile {n}",
   "no mac security profile",
   "agent option {n} {n}",
   "no agent option {n}",
   "simulate interface {i} create",
   "simulate interface {i} create",
   "simulate interface {i} delete",
   "simulate interface {i} oper up",
   "simulate interface {i} oper up",
   "simulate interface {i} oper down",
   "simulate interface {i} oper unknown",
   "simulate interface {i} counter in_ucast_pkts {N}",
   "simulate ip interface {i} vlan {N}",
   "simulate port-channel {i} speed {N}",
   "simulate sbfd {i} {h} labels {l} dscp {1} exp {1} status {5}",
   "simulate sbfd {i} {h} labels {l} dscp {1} exp {1} rtt {N} {N} {N} {N} {N} {N} {N}",
   "simulate sbfd auto on",
   "simulate sbfd auto off",
   "simulate nexthop-group {g} active true",
   "simulate nexthop-group {g} active false",
   "simulate nexthop-group {g} programmed {N}",
   "simulate nexthop-group {g} counter {3} {N} {N}",
   "simulate mpls fec {5} set",
   "simulate mpls fec {5} delete",
   "simulate policy-map {n} feature {5} sync",
   "simulate policy-map {n} feature {5} config-set",
   "simulate policy-map {n} feature {5} sync-fail {n}",
   "simulate policy-map {n} feature {5} hw-status {i} {3} {5}",
   "simulate policy-map {n} feature 1 rule {9} class-map {n} nexthop-group {g} nexthop-group {g}",
   "simulate class-map {n} rule {9} acl {n} type 1",
   "simulate class-map {n} rule {9} acl {n} type {3}",
   "simulate acl {n} type {3} rule {9} nexthop-group {g} priority {9} mask 63",
   "simulate macsec {i} key-status {7} traffic-status {3}",
   "simulate macsec {i} counter in_pkts_not_valid {N}",
   "simulate macsec {i} capable true",
   "simulate bgp path {p} peer {h} vrf {v} next-hop {h} origin {2} med {N} local-pref {N} community {l}",
   "simulate no bgp path {p} peer {h} vrf {v}",
   "simulate bgp converged ipv4 true",
   "simulate bgp converged ipv6 false",
   "simulate vapi delay {1}"};

template <std::size_t size>
std::string oneOf(AnyMessage& any, std::array<std::string_view, size> const& texts) {
   return std::string(texts[any.upTo(size)]);
}

std::string quoted(std::string const& text) {
   return text.empty() || text.find(' ') != std::string::npos ? '"' + text + '"' : text;
}

std::string valueOf(AnyMessage& any, char what) {
   static constexpr std::array<std::string_view, 6> hosts{"10.0.0.1",    "10.0.0.2", "192.0.2.1",
                                                          "2001:db8::1", "0.0.0.0",  "::"};
   static constexpr std::array<std::string_view, 4> lengths{"/24", "/32", "/0", "/129"};
   static constexpr std::array<std::string_view, 6> prefixes{"10.0.0.0/8",    "10.1.0.0/16", "192.0.2.1/32",
                                                             "2001:db8::/32", "0.0.0.0/0",   "::/0"};
   static constexpr std::array<std::string_view, 4> labels{"-", "16", "16,17", "1048575"};
   switch (what) {
      case 'i': return quoted(anyIntf(any));
      case 'g': return quoted(anyGroup(any));
      case 'n': return quoted(anyName(any));
      case 'v': return quoted(anyVrf(any));
      case 'h': return oneOf(any, hosts);
      case 'a': return oneOf(any, hosts) + oneOf(any, lengths);
      case 'p': return oneOf(any, prefixes);
      case 'l': return oneOf(any, labels);
      case 'N': return std::to_string(any.oneIn(8) ? ~0ULL >> any.upTo(64) : any.upTo(5000));
      default: return std::to_string(any.upTo(static_cast<std::uint32_t>(what - '0') + 1));
   }
}

std::string filled(AnyMessage& any, std::string command) {
   for (auto at = command.find('{'); at != std::string::npos; at = command.find('{', at)) {
      auto const value = valueOf(any, command[at + 1]);
      command.replace(at, 3, value);
      at += value.size();
   }
   if (any.oneIn(40))
      command.insert(any.upTo(static_cast<std::uint32_t>(command.size() + 1)), any.oneIn(2) ? " " : "\"");
   if (any.oneIn(40)) command.resize(any.upTo(static_cast<std::uint32_t>(command.size() + 1)));
   return command;
}

}  // namespace

std::string anyIntf(AnyMessage& any) {
   static constexpr std::array<std::string_view, 16> names{
      "Ethernet1",   "Ethernet2",  "Ethernet3",     "Ethernet4",     "Ethernet1", "Ethernet2",
      "Ethernet32",  "Ethernet33", "Port-Channel1", "Port-Channel2", "Loopback0", "Loopback7",
      "Management1", "Vlan100",    "Ethernet3/1",   "nowhere"};
   return any.oneIn(40) ? std::string() : oneOf(any, names);
}

std::string anyGroup(AnyMessage& any) {
   return any.oneIn(30) ? std::string() : fmt::format("{}{}", any.oneIn(6) ? "h" : "g", any.upTo(4));
}

std::string anyVrf(AnyMessage& any) {
   static constexpr std::array<std::string_view, 4> names{"", "", "red", "blue"};
   return oneOf(any, names);
}

std::string anyName(AnyMessage& any) {
   static constexpr std::array<std::string_view, 12> names{"a",  "b",     "c",     "p", "cbf",       "m",
                                                           "g0", "g0-g1", "g1-g0", "",  "two words", "gr\u00fc\u00dfe"};
   return oneOf(any, names);
}

std::string anyShowCommand(AnyMessage& any) { return filled(any, oneOf(any, showCommands)); }

std::string anyConfigCommand(AnyMessage& any) { return filled(any, oneOf(any, configCommands)); }

}  // namespace VelmSdkRpc::storm
