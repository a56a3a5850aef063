#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"

// There is no BGP inside, so every path is told by these commands. A path is always set as a whole: what a command
// leaves out is empty or 0, also where the path had it before.
namespace velm::embedded::commands {
namespace {

std::string showBgpPath(Session& session, Arguments const&) {
   auto const& mgr = session.device.bgpPaths;
   return jsonObject([&](JsonWriter& json) {
      auto const writePath = [&](bgp_path_key_t const& key, bgp_path_attr_t const& attr) {
         writeJson(json, bgp_path_t(key, attr));
      };
      writeArray(json, "ipv4", mgr.table(bgp_afi_safi_t::ipv4_unicast), writePath);
      writeArray(json, "ipv6", mgr.table(bgp_afi_safi_t::ipv6_unicast), writePath);
      writeKey(json, "converged");
      json.StartObject();
      writeMember(json, "ipv4", mgr.ipv4_unicast_bgp_convergence());
      writeMember(json, "ipv6", mgr.ipv6_unicast_bgp_convergence());
      json.EndObject();
   });
}

bgp_path_key_t keyOf(Arguments const& arguments) {
   bgp_path_key_t key;
   key.prefix_is(arguments.prefix("PREFIX"));
   key.peer_addr_is(arguments.addr("ADDR:peer"));
   key.vrf_name_is(arguments.text("VRF"));
   return key;
}

bgp_path_attr_t attrOf(Arguments const& arguments) {
   std::unordered_set<std::uint32_t> communities;
   for (auto const community : arguments.numbers("N,N")) {
      communities.insert(narrowed<std::uint32_t>(community, "community"));
   }
   return {arguments.addr("ADDR:next-hop"), narrowed<unsigned char>(arguments.number("N:origin"), "origin"),
           narrowed<std::uint32_t>(arguments.number("N:med"), "med"),
           narrowed<std::uint32_t>(arguments.number("N:local-pref"), "local-pref"), std::move(communities)};
}

std::string simulatePath(Session& session, Arguments const& arguments) {
   session.device.bgpPaths.pathIs(keyOf(arguments), attrOf(arguments));
   return done;
}

std::string simulateNoPath(Session& session, Arguments const& arguments) {
   session.device.bgpPaths.pathDel(keyOf(arguments));
   return done;
}

std::string simulateConverged(Session& session, Arguments const& arguments) {
   auto const family =
      arguments.text("ipv4|ipv6") == "ipv4" ? bgp_afi_safi_t::ipv4_unicast : bgp_afi_safi_t::ipv6_unicast;
   session.device.bgpPaths.convergedIs(family, arguments.text("true|false") == "true");
   return done;
}

}  // namespace

std::vector<Command> bgpShowCommands() { return {{"show bgp path", showBgpPath}}; }

std::vector<Command> bgpConfigurationCommands() {
   return {{"simulate bgp path PREFIX peer ADDR:peer vrf VRF [next-hop ADDR:next-hop] [origin N:origin] [med N:med] "
            "[local-pref N:local-pref] [community N,N]",
            simulatePath},
           {"simulate no bgp path PREFIX peer ADDR:peer vrf VRF", simulateNoPath},
           {"simulate bgp converged ipv4|ipv6 true|false", simulateConverged}};
}

}  // namespace velm::embedded::commands
