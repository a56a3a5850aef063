#include "clients/demo/EntryTables.h"

#include <fmt/format.h>

#include <string>
#include <variant>

namespace VelmSdkRpc::demo {
namespace {

std::string textOf(ToNexthop const& way) {
   auto const& hop = way.hop;
   switch (way.action) {
      case LabelAction::push: return fmt::format("push {}, {} {}", hop.label, hop.intf, hop.neighbour);
      case LabelAction::swap: return fmt::format("swap to {}, {} {}", hop.label, hop.intf, hop.neighbour);
      case LabelAction::pop: return fmt::format("pop, {} {}", hop.intf, hop.neighbour);
      case LabelAction::forward: break;
   }
   return fmt::format("forward, {} {}", hop.intf, hop.neighbour);
}

std::string textOf(ToGroup const& way) {
   return fmt::format("{}, group {}", way.action == LabelAction::pop ? "pop" : "forward", way.group);
}

std::string textOf(ToVrf const& way) { return fmt::format("pop, look up in VRF {}", way.vrf); }

std::string textOf(AclKey const& acl) {
   return fmt::format("{} ({})", acl.name, acl.type == AclType::ipv6 ? "IPv6" : "IPv4");
}

std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

}  // namespace

Table tableOf(std::vector<Route> const& routes) {
   Table table({"prefix", "tag", "nexthop group"});
   for (auto const& route : routes) table.add({route.prefix, std::to_string(route.tag), route.group});
   return table;
}

Table tableOf(std::vector<GroupState> const& groups) {
   Table table({"nexthop group", "active", "version", "packets leave by (weight, interface, neighbour, label)"});
   for (auto const& group : groups) {
      std::vector<std::string> ways;
      ways.reserve(group.hops.size());
      for (auto const& hop : group.hops) {
         ways.push_back(fmt::format("{}x {} {} push {}", hop.weight, hop.intf, hop.neighbour, hop.label));
      }
      table.add(
         {group.name, yesOrNo(group.active), std::to_string(group.version), fmt::format("{}", fmt::join(ways, ", "))});
   }
   return table;
}

Table tableOf(std::vector<LabelRoute> const& labels) {
   Table table({"label", "what becomes of its packets"});
   for (auto const& label : labels) {
      table.add({std::to_string(label.label), std::visit([](auto const& way) { return textOf(way); }, label.way)});
   }
   return table;
}

Table tableOf(std::vector<Tunnel> const& tunnels) {
   Table table({"tunnel endpoint", "metric", "nexthop group"});
   for (auto const& tunnel : tunnels) table.add({tunnel.endpoint, std::to_string(tunnel.metric), tunnel.group});
   return table;
}

Table tableOf(std::vector<Redirect> const& redirects) {
   Table table({"packets to group", "IPv4 DSCP", "IPv6 DSCP", "leave by group"});
   for (auto const& redirect : redirects) {
      table.add({redirect.match, fmt::format("{}", fmt::join(redirect.ipv4Dscp, " ")),
                 fmt::format("{}", fmt::join(redirect.ipv6Dscp, " ")), redirect.to});
   }
   return table;
}

Table tableOf(std::vector<PolicyRule> const& rules) {
   Table table({"policy map", "rule", "class map", "its packets leave by group"});
   for (auto const& rule : rules) table.add({rule.policyMap, std::to_string(rule.sequence), rule.classMap, rule.group});
   return table;
}

Table tableOf(std::vector<ClassRule> const& rules) {
   Table table({"class map", "rule", "ACL"});
   for (auto const& rule : rules) table.add({rule.classMap, std::to_string(rule.sequence), textOf(rule.acl)});
   return table;
}

Table tableOf(std::vector<AclRule> const& rules) {
   Table table({"ACL", "rule", "packets to group", "priority", "mask"});
   for (auto const& rule : rules) {
      table.add({textOf(rule.acl), std::to_string(rule.sequence), rule.group, fmt::format("{:#04x}", rule.priority),
                 fmt::format("{:#04x}", rule.mask)});
   }
   return table;
}

Table tableOf(std::vector<CallCount> const& calls) {
   Table table({"operation of the switch", "calls"});
   for (auto const& call : calls) table.add({call.operation, std::to_string(call.count)});
   return table;
}

Table tableOf(std::vector<Session> const& sessions) {
   Table table({"session", "every", "lost ones", "round-trip times", "tracks its interface"});
   for (auto const& session : sessions) {
      table.add({textOf(session.key), fmt::format("{} ms", session.minTx), std::to_string(session.multiplier),
                 yesOrNo(session.rtt), yesOrNo(session.tracksIntf)});
   }
   return table;
}

Table tableOf(std::vector<SessionState> const& states) {
   Table table({"session", "every", "lost ones", "round-trip times", "status"});
   for (auto const& state : states) {
      table.add({textOf(state.key), fmt::format("{} ms", state.minTx), std::to_string(state.multiplier),
                 yesOrNo(state.rtt), textOf(state.status)});
   }
   return table;
}

Table tableOf(std::vector<SessionReport> const& reports) {
   Table table({"session", "status"});
   for (auto const& report : reports) table.add({textOf(report.key), textOf(report.status)});
   return table;
}

Table tableOf(std::vector<SessionRtt> const& rtts) {
   Table table({"session", "last", "min", "avg", "max"});
   for (auto const& rtt : rtts) {
      table.add({textOf(rtt.key), std::to_string(rtt.last), std::to_string(rtt.min), std::to_string(rtt.avg),
                 std::to_string(rtt.max)});
   }
   return table;
}

Table tableOf(std::vector<Pair> const& pairs) {
   Table table({"key", "value"});
   for (auto const& pair : pairs) table.add({pair.key, pair.value});
   return table;
}

std::string textOf(SessionKey const& key) {
   return fmt::format("{} {} labels {}", key.intf, key.neighbour, fmt::join(key.labels, " "));
}

std::string textOf(SessionStatus status) {
   switch (status) {
      case SessionStatus::unknown: return "unknown";
      case SessionStatus::down: return "down";
      case SessionStatus::init: return "init";
      case SessionStatus::up: return "up";
      case SessionStatus::adminDown: return "admin down";
   }
   return std::to_string(static_cast<std::uint32_t>(status));
}

}  // namespace VelmSdkRpc::demo
