#include "cli/demo/EntryTables.h"

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
      table.add({group.name, group.active ? "yes" : "no", std::to_string(group.version),
                 fmt::format("{}", fmt::join(ways, ", "))});
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

Table tableOf(std::vector<Pair> const& pairs) {
   Table table({"key", "value"});
   for (auto const& pair : pairs) table.add({pair.key, pair.value});
   return table;
}

}  // namespace VelmSdkRpc::demo
