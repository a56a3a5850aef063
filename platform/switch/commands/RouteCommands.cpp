#include <limits>

#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"
#include "platform/switch/commands/Simulation.h"

// Answers are streamed as JSON from the tables, row by row: a table of a million routes is one text and never a
// document in memory, and `limit` ends the walk. Groups' states are simulated through the dataplane, so that they take
// their turn among its reports.
namespace velm::embedded::commands {
namespace {

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
   ip_route_key_t first(prefix);  // of a null prefix that of the table
   first.preference_is(0);
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "routes");
      json.StartArray();
      auto const write = [&](ip_route_key_t const& key, IpRoute const& route) {
         if (limit == 0 || (one && key.prefix() != prefix)) return false;
         --limit;
         writeIpRoute(json, key, route);
         return true;
      };
      table.walkFrom(first, write);
      json.EndArray();
   });
}

std::string showIpRouteSummary(Session& session, Arguments const& arguments) {
   return jsonObject([&](JsonWriter& json) {
      writeMember(json, "count", session.device.ipRoutes.table(arguments.text("NAME")).size());
   });
}

void writeMplsRoute(JsonWriter& json, MplsRowKey const& rowKey, MplsRoute const& route) {
   auto const key = rowKey.key();
   json.StartObject();
   writeMember(json, "key", key);
   writeMember(json, "fec_id", route.fec.id());
   writeVias(json, route.vias.list(key));
   json.EndObject();
}

std::string showMplsRoute(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeArray(json, "routes", session.device.mplsRoutes.table(),
                 [&](auto const& key, auto const& route) { writeMplsRoute(json, key, route); });
      writeArray(json, "vrf_labels", session.device.mplsVrfLabels.table(),
                 [&](auto const&, auto const& entry) { writeJson(json, entry); });
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
      writeArray(json, "tunnels", session.device.nexthopGroupTunnels.table(),
                 [&](auto const&, auto const& tunnel) { writeJson(json, tunnel); });
   });
}

SimulatedDataplane& groupSimulation(Session& session, Arguments const& arguments, std::string_view instead) {
   return simulation(session.device, "nexthop group " + arguments.text("NAME"), instead);
}

std::string simulateGroupActive(Session& session, Arguments const& arguments) {
   groupSimulation(session, arguments, "change the links and neighbours of its members")
      .simulateActive(arguments.text("NAME"), arguments.text("true|false") == "true");
   return done;
}

std::string simulateGroupProgrammed(Session& session, Arguments const& arguments) {
   groupSimulation(session, arguments, "set it")
      .simulateProgrammed(arguments.text("NAME"), narrowed<unsigned short>(arguments.number("N:version"), "version"));
   return done;
}

std::string simulateGroupCounter(Session& session, Arguments const& arguments) {
   groupSimulation(session, arguments, "its traffic is counted");
   session.device.nexthopGroups.counterIs(arguments.text("NAME"),
                                          narrowed<unsigned short>(arguments.number("N:entry"), "entry"),
                                          {arguments.number("N:packets"), arguments.number("N:bytes")});
   return done;
}

std::string simulateFec(Session& session, Arguments const& arguments) {
   mpls_fec_id_t const fec(arguments.number("N"));
   if (arguments.text("set|delete") == "set") {
      session.device.mplsRoutes.simulateFecSet(fec);
   } else {
      session.device.mplsRoutes.simulateFecDel(fec);
   }
   return done;
}

}  // namespace

std::vector<Command> routeShowCommands() {
   return {{"show ip route [vrf NAME] summary", showIpRouteSummary},
           {"show ip route [vrf NAME] [PREFIX] [limit N]", showIpRoute},
           {"show mpls route", showMplsRoute},
           {"show nexthop-group tunnel", showNexthopGroupTunnel},
           {"show nexthop-group [NAME]", showNexthopGroup}};
}

std::vector<Command> routeConfigurationCommands() {
   return {{"simulate nexthop-group NAME active true|false", simulateGroupActive},
           {"simulate nexthop-group NAME programmed N:version", simulateGroupProgrammed},
           {"simulate nexthop-group NAME counter N:entry N:packets N:bytes", simulateGroupCounter},
           {"simulate mpls fec N set|delete", simulateFec}};
}

}  // namespace velm::embedded::commands
