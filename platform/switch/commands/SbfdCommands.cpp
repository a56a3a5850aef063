#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"
#include "platform/switch/commands/Simulation.h"

// A simulated status or round trip goes to the manager and not through the dataplane: it stands for a report of any
// session, also of one that does not exist. `simulate sbfd auto off` keeps the dataplane from answering to it.
namespace velm::embedded::commands {
namespace {

std::string showSbfdEcho(Session& session, Arguments const&) {
   auto const& mgr = session.device.bfdSessions;
   return jsonObject([&](JsonWriter& json) {
      writeArray(json, "sessions", mgr.table(), [&](sbfd_echo_session_key_t const& key, SbfdSession const& asked) {
         json.StartObject();
         writeMember(json, "key", key);
         writeAttributes(json, asked.interval);
         writeMember(json, "rtt_enabled", asked.rttEnabled);
         writeMember(json, "status", mgr.sbfd_echo_session_status(key));
         json.EndObject();
      });
   });
}

SimulatedDataplane& sbfdSimulation(Session& session) {
   return simulation(session.device, "sBFD", "change the links and paths of its sessions");
}

sbfd_echo_session_key_t keyOf(Arguments const& arguments) {
   std::forward_list<mpls_label_t> labels;
   auto last = labels.before_begin();
   for (auto const label : arguments.numbers("N,N")) {
      last = labels.insert_after(last, mpls_label_t(narrowed<std::uint32_t>(label, "label")));
   }
   return {arguments.addr("ADDR"), arguments.intf("INTF"), labels,
           narrowed<unsigned char>(arguments.number("N:dscp"), "dscp"),
           narrowed<unsigned char>(arguments.number("N:exp"), "exp")};
}

std::string simulateStatus(Session& session, Arguments const& arguments) {
   sbfdSimulation(session);
   session.device.bfdSessions.simulateStatus(keyOf(arguments),
                                             enumOf<bfd_session_status_t>(arguments.number("N:status"), "status"));
   return done;
}

std::string simulateRtt(Session& session, Arguments const& arguments) {
   sbfdSimulation(session);
   auto const rtt = [&](std::string_view name) { return narrowed<std::uint32_t>(arguments.number(name), "rtt"); };
   session.device.bfdSessions.simulateRtt(
      keyOf(arguments),
      sbfd_echo_session_rtt_stats_t(rtt("N:last"), rtt("N:min"), rtt("N:avg"), rtt("N:max"), rtt("N:snapshot-min"),
                                    rtt("N:snapshot-avg"), rtt("N:snapshot-max")));
   return done;
}

std::string simulateAutomatic(Session& session, Arguments const& arguments) {
   sbfdSimulation(session).sbfd().automaticIs(arguments.text("on|off") == "on");
   return done;
}

}  // namespace

std::vector<Command> sbfdShowCommands() { return {{"show sbfd echo", showSbfdEcho}}; }

std::vector<Command> sbfdConfigurationCommands() {
   return {{"simulate sbfd INTF ADDR labels N,N dscp N:dscp exp N:exp status N:status", simulateStatus},
           {"simulate sbfd INTF ADDR labels N,N dscp N:dscp exp N:exp rtt N:last N:min N:avg N:max "
            "N:snapshot-min N:snapshot-avg N:snapshot-max",
            simulateRtt},
           {"simulate sbfd auto on|off", simulateAutomatic}};
}

}  // namespace velm::embedded::commands
