#include <limits>

#include "platform/switch/Identity.h"
#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/cli/Commands.h"

namespace velm::embedded::cli {
namespace {

std::string showVersion(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeMember(json, "name", agentName);
      writeMember(json, "version", agentVersion);
      writeMember(json, "uptime", session.device.agent.uptime());
      writeMember(json, "state", std::string_view());
   });
}

void writeIntf(JsonWriter& json, Switch& device, intf_id_t const& intf, Intf const& row) {
   writeKey(json, intf.to_string());
   json.StartObject();
   writeMember(json, "admin_enabled", row.adminEnabled);
   writeMember(json, "oper_status", row.operStatus());
   writeMember(json, "description", row.description);
   writeMember(json, "kernel_intf_name", kernel_name(intf));
   writeMember(json, "ip_addrs", device.ipIntfs.ip_addrs(intf));
   writeMember(json, "internal_vlan_id", device.ipIntfs.internal_vlan_id(intf));
   writeMember(json, "counters", row.counters);
   writeMember(json, "rates", row.rates);
   json.EndObject();
}

// The rows of a table that a command shows: the one it names, which must be there, or all.
template <class Key, class Value, class Write>
void writeRows(JsonWriter& json, std::string_view title, Table<Key, Value> const& table, std::string const& name,
               Write write) {
   writeKey(json, title);
   json.StartObject();
   if (name.empty()) {
      table.walk([&](Key const& key, Value const& value) {
         write(key, value);
         return true;
      });
   } else {
      Key const key(name);
      Value const* value = table.find(key);
      if (value == nullptr) throw invalid_argument_error("no such name " + name);
      write(key, *value);
   }
   json.EndObject();
}

std::string showInterfaces(Session& session, Arguments const& arguments) {
   return jsonObject([&](JsonWriter& json) {
      writeRows(json, "interfaces", session.device.intfs.table(), arguments.text("INTF"),
                [&](intf_id_t const& intf, Intf const& row) { writeIntf(json, session.device, intf, row); });
   });
}

template <class Via>
void writeVias(JsonWriter& json, std::vector<Via> const& vias) {
   writeKey(json, "vias");
   json.StartArray();
   for (auto const& via : vias) {
      json.StartObject();
      writeAttributes(json, via, "route_key");
      json.EndObject();
   }
   json.EndArray();
}

void writeIpRoute(JsonWriter& json, ip_route_key_t const& key, IpRoute const& route) {
   json.StartObject();
   writeMember(json, "key", key);
   writeMember(json, "tag", route.tag);
   writeMember(json, "action", route.action);
   writeVias(json, route.vias.list(key));
   json.EndObject();
}

std::string showIpRoute(Session& session, Arguments const& arguments) {
   auto const& table = session.device.ipRoutes.table(arguments.text("NAME"));
   auto limit = arguments.has("N") ? arguments.number("N") : std::numeric_limits<std::uint64_t>::max();
   bool const one = arguments.has("PREFIX");
   ip_prefix_t const prefix = one ? arguments.prefix("PREFIX") : ip_prefix_t();
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "routes");
      json.StartArray();
      auto const write = [&](ip_route_key_t const& key, IpRoute const& route) {
         if (limit == 0 || (one && key.prefix() != prefix)) return false;
         --limit;
         writeIpRoute(json, key, route);
         return true;
      };
      if (one) {
         ip_route_key_t first(prefix);
         first.preference_is(0);
         table.walkFrom(first, write);
      } else {
         table.walk(write);
      }
      json.EndArray();
   });
}

std::string showIpRouteSummary(Session& session, Arguments const& arguments) {
   return jsonObject([&](JsonWriter& json) {
      writeMember(json, "count", session.device.ipRoutes.table(arguments.text("NAME")).size());
   });
}

std::string showMplsRoute(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "routes");
      json.StartArray();
      session.device.mplsRoutes.table().walk([&](mpls_route_key_t const& key, MplsRoute const& route) {
         json.StartObject();
         writeMember(json, "key", key);
         writeVias(json, plainVias(route.vias));
         json.EndObject();
         return true;
      });
      json.EndArray();
      writeKey(json, "vrf_labels");
      json.StartArray();
      session.device.mplsVrfLabels.table().walk([&](mpls_label_t const&, mpls_vrf_label_t const& entry) {
         writeJson(json, entry);
         return true;
      });
      json.EndArray();
   });
}

std::string showNexthopGroup(Session& session, Arguments const& arguments) {
   auto const& statuses = session.device.nexthopGroups.statuses();
   return jsonObject([&](JsonWriter& json) {
      writeRows(json, "nexthop_groups", session.device.nexthopGroups.table(), arguments.text("NAME"),
                [&](std::string const& name, nexthop_group_t const& group) {
                   auto const* reported = statuses.find(name);
                   NexthopGroupStatus const status = reported == nullptr ? NexthopGroupStatus() : *reported;
                   writeKey(json, name);
                   json.StartObject();
                   writeAttributes(json, group);
                   writeMember(json, "active", status.active);
                   writeMember(json, "version", status.version);
                   json.EndObject();
                });
   });
}

std::string showNexthopGroupTunnel(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "tunnels");
      json.StartArray();
      session.device.nexthopGroupTunnels.table().walk([&](ip_prefix_t const&, nexthop_group_tunnel_t const& tunnel) {
         writeJson(json, tunnel);
         return true;
      });
      json.EndArray();
   });
}

std::string showSwitchCalls(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "calls");
      json.StartObject();
      for (auto const& [operation, count] : session.device.ledger.calls()) writeMember(json, operation, count);
      json.EndObject();
   });
}

}  // namespace

std::vector<Command> switchShowCommands() {
   return {{"show version", showVersion},
           {"show interfaces [INTF]", showInterfaces},
           {"show ip route [vrf NAME] summary", showIpRouteSummary},
           {"show ip route [vrf NAME] [PREFIX] [limit N]", showIpRoute},
           {"show mpls route", showMplsRoute},
           {"show nexthop-group tunnel", showNexthopGroupTunnel},
           {"show nexthop-group [NAME]", showNexthopGroup},
           {"show switch calls", showSwitchCalls}};
}

}  // namespace velm::embedded::cli
