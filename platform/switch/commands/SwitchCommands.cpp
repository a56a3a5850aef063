#include <fmt/format.h>

#include <type_traits>

#include "platform/loom/TaskScheduler.h"
#include "platform/switch/Identity.h"
#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"

// Commands about the switch as a whole: who it is, what was called, who watches, how its tasks fare, and what makes
// trials possible, faults and a slow show command. Of the figures of calls, a command changes that of the command line
// alone: what it calls inside is not counted.
namespace velm::embedded::commands {
namespace {

std::string showVersion(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeMember(json, "name", agentName);
      writeMember(json, "version", agentVersion);
      writeMember(json, "uptime", session.device.agent.uptime());
      writeMember(json, "state", std::string_view(session.device.stateFolder()));
   });
}

std::string showAgent(Session& session, Arguments const&) {
   auto const& agent = session.device.agent;
   return jsonObject([&](JsonWriter& json) {
      auto const write = [&](std::string const& name, std::string const& value) {
         writeMember(json, name, std::string_view(value));
      };
      writeRows(json, "options", agent.options(), {}, write);
      writeRows(json, "statuses", agent.statuses(), {}, write);
      writeMember(json, "enabled", agent.enabled());
      writeMember(json, "uptime", agent.uptime());
   });
}

std::string showDataplane(Session& session, Arguments const&) { return session.device.dataplane->describe(); }

std::string showSwitchCalls(Session& session, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "calls");
      json.StartObject();
      for (auto const& [operation, count] : session.device.ledger.calls()) writeMember(json, operation, count);
      json.EndObject();
   });
}

template <class Key>
std::string keyText(Key const& key) {
   if constexpr (std::is_enum_v<Key>) {
      return fmt::format("{}", static_cast<unsigned>(key));
   } else if constexpr (std::is_convertible_v<Key, std::string>) {
      return key;
   } else {
      return key.to_string();
   }
}

template <class Mgr>
void writeWatches(JsonWriter& json, std::string_view handler, Mgr const& mgr) {
   if (!mgr.watched()) return;
   writeKey(json, handler);
   json.StartArray();
   mgr.for_each_watched([&](auto const* key) { writeJson(json, key == nullptr ? "all" : keyText(*key)); });
   json.EndArray();
}

std::string showSwitchWatches(Session& session, Arguments const&) {
   auto const& device = session.device;
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "watches");
      json.StartObject();
      writeWatches(json, "bfd_session_handler", device.bfdSessions);
      writeWatches(json, "bgp_path_handler", device.bgpPaths);
      writeWatches(json, "eth_lag_intf_handler", device.ethLagIntfs);
      writeWatches(json, "intf_handler", device.intfs);
      writeWatches(json, "ip_intf_handler", device.ipIntfs);
      writeWatches(json, "macsec_handler", device.macsec);
      writeWatches(json, "mpls_route_handler", device.mplsRoutes);
      writeWatches(json, "nexthop_group_handler", device.nexthopGroups);
      writeWatches(json, "policy_map_handler", device.policyMaps);
      json.EndObject();
   });
}

std::string showSwitchTasks(Session&, Arguments const&) {
   return jsonObject([&](JsonWriter& json) {
      writeKey(json, "tasks");
      json.StartObject();
      for (auto const& task : Loom::TaskSchedulerRoot::findOrCreateScheduler()->taskStats()) {
         writeKey(json, task.name);
         json.StartObject();
         writeMember(json, "runs", task.runs);
         writeMember(json, "work_count", task.workCount);
         writeMember(json, "work_pending", task.workPending);
         writeMember(json, "priority", task.priority.value());
         writeMember(json, "quantum", task.quantum);
         json.EndObject();
      }
      json.EndObject();
   });
}

std::string setOption(Session& session, Arguments const& arguments) {
   session.device.agent.optionIs(arguments.text("KEY"), arguments.text("VALUE"));
   return done;
}

std::string removeOption(Session& session, Arguments const& arguments) {
   session.device.agent.optionDel(arguments.text("KEY"));
   return done;
}

std::string disableAgent(Session& session, Arguments const&) {
   session.device.loop.disable();
   return done;
}

std::string simulateFailure(Session& session, Arguments const& arguments) {
   session.device.ledger.failNext(arguments.text("MANAGER.OPERATION"), arguments.text("ERROR"), arguments.text("TEXT"),
                                  arguments.has("N") ? arguments.number("N") : 1);
   return done;
}

std::string simulateNoFailure(Session& session, Arguments const&) {
   session.device.ledger.clearFaults();
   return done;
}

std::string simulateDelay(Session& session, Arguments const& arguments) {
   session.device.vapi.delayNextShow(arguments.number("N"));
   return done;
}

}  // namespace

std::vector<Command> switchShowCommands() {
   return {{"show version", showVersion},
           {"show agent", showAgent},
           {"show dataplane", showDataplane},
           {"show switch calls", showSwitchCalls},
           {"show switch watches", showSwitchWatches},
           {"show switch tasks", showSwitchTasks}};
}

std::vector<Command> switchConfigurationCommands() {
   return {{"agent option KEY VALUE", setOption},
           {"no agent option KEY", removeOption},
           {"agent disable", disableAgent},
           {"simulate fail MANAGER.OPERATION ERROR TEXT [times N]", simulateFailure},
           {"simulate no fail", simulateNoFailure},
           {"simulate vapi delay N", simulateDelay}};
}

}  // namespace velm::embedded::commands
