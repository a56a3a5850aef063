#include <fmt/format.h>

#include "platform/switch/Json.h"
#include "platform/switch/SetAttribute.h"
#include "platform/switch/Switch.h"
#include "platform/switch/Timestamp.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/ChosenIntf.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"
#include "platform/switch/commands/Simulation.h"

// Configuration works on the interface that `interface` chose before, for the rest of the list of commands; what plays
// the world outside names its interface itself. A port belongs to the chassis: it comes and goes by `simulate
// interface`, and `no interface` refuses it.
namespace velm::embedded::commands {
namespace {

void writeIntf(JsonWriter& json, Switch& device, intf_id_t const& intf, Intf const& row) {
   auto const traffic = device.intfCounters.traffic(intf);
   writeKey(json, intf.to_string());
   json.StartObject();
   writeMember(json, "admin_enabled", row.adminEnabled);
   writeMember(json, "oper_status", device.intfs.operStatus(intf));
   writeMember(json, "description", row.description);
   writeMember(json, "kernel_intf_name", device.intfs.kernelName(intf));
   writeMember(json, "ip_addrs", device.ipIntfs.ip_addrs(intf));
   writeMember(json, "internal_vlan_id", device.ipIntfs.internal_vlan_id(intf));
   writeMember(json, "counters", traffic.counters);
   writeMember(json, "rates", traffic.rates);
   json.EndObject();
}

std::string showInterfaces(Session& session, Arguments const& arguments) {
   return jsonObject([&](JsonWriter& json) {
      writeRows(json, "interfaces", session.device.intfs.table(), arguments.text("INTF"),
                [&](intf_id_t const& intf, Intf const& row) { writeIntf(json, session.device, intf, row); });
   });
}

// What is real comes by itself.
std::string chooseIntf(Session& session, Arguments const& arguments) {
   if (session.device.dataplane->simulation() != nullptr) session.device.intfs.create(arguments.intf("INTF"));
   session.intf = arguments.intf("INTF");
   return done;
}

std::string exitIntf(Session& session, Arguments const&) {
   session.intf = intf_id_t();
   return done;
}

std::string removeIntf(Session& session, Arguments const& arguments) {
   auto const intf = arguments.intf("INTF");
   if (intf.kind() == intf_id_t::kind_t::ethernet || intf.kind() == intf_id_t::kind_t::management) {
      throw configuration_error(fmt::format("{} is a port and cannot be removed", intf.to_string()));
   }
   session.device.intfs.remove(intf);
   if (session.intf == intf) session.intf = intf_id_t();
   return done;
}

template <bool enabled>
std::string enableIntf(Session& session, Arguments const&) {
   session.device.intfs.admin_enabled_is(chosenIntf(session), enabled);
   return done;
}

// Without a text, as in `no description`, the description becomes empty.
std::string describeIntf(Session& session, Arguments const& arguments) {
   session.device.intfs.description_is(chosenIntf(session), arguments.text("TEXT"));
   return done;
}

std::string addAddress(Session& session, Arguments const& arguments) {
   session.device.ipIntfs.ip_addr_add(chosenIntf(session), arguments.mask("A/L"));
   return done;
}

std::string removeAddress(Session& session, Arguments const& arguments) {
   auto const intf = chosenIntf(session);
   if (arguments.has("A/L")) {
      session.device.ipIntfs.ip_addr_del(intf, arguments.mask("A/L"));
   } else {
      session.device.ipIntfs.ip_addrs_is(intf, {});
   }
   return done;
}

std::string nameDevice(Session& session, Arguments const& arguments) {
   session.device.dataplane->deviceIs(chosenIntf(session), arguments.text("NAME"));
   return done;
}

// Without a name, as in `no vrf`, it is the default VRF.
std::string chooseVrf(Session& session, Arguments const& arguments) {
   session.device.dataplane->vrfIs(chosenIntf(session), arguments.text("NAME"));
   return done;
}

// The interface of a command that plays what is outside of it.
intf_id_t simulatedIntf(Session& session, Arguments const& arguments, std::string_view instead) {
   auto const intf = arguments.intf("INTF");
   simulation(session.device, fmt::format("interface {}", intf.to_string()), instead);
   return intf;
}

std::string simulatePort(Session& session, Arguments const& arguments) {
   auto const intf = simulatedIntf(session, arguments, "add or remove the machine's device");
   if (arguments.text("create|delete") == "create") {
      session.device.intfs.create(intf);
   } else {
      session.device.intfs.remove(intf);
   }
   return done;
}

std::string simulateLink(Session& session, Arguments const& arguments) {
   auto const intf = simulatedIntf(session, arguments, "change the machine's link");
   auto const& state = arguments.text("up|down|unknown");
   session.device.intfs.linkIs(intf, state == "up"     ? oper_status_t::up
                                     : state == "down" ? oper_status_t::down
                                                       : oper_status_t::unknown);
   return done;
}

// Setting a figure makes a sample of this moment, unless the moment itself is what is set.
template <class Sample>
bool setSample(Sample& sample, std::string const& accessor, std::uint64_t number) {
   auto next = sample;
   setAttribute(next, "sample_time", timestamp());
   if (!setAttribute(next, accessor, number)) return false;
   sample = next;
   return true;
}

std::string simulateCounter(Session& session, Arguments const& arguments) {
   auto const intf = simulatedIntf(session, arguments, "its traffic is counted");
   auto const& accessor = arguments.text("ACCESSOR");
   auto const number = arguments.number("N");
   auto traffic = session.device.intfCounters.traffic(intf);
   bool const isCounter = setSample(traffic.counters, accessor, number);
   bool const isRate = setSample(traffic.rates, accessor, number);
   if (!isCounter && !isRate) throw invalid_argument_error(fmt::format("no such counter {}", accessor));
   session.device.intfCounters.trafficIs(intf, traffic);
   return done;
}

std::string simulateVlan(Session& session, Arguments const& arguments) {
   session.device.ipIntfs.internalVlanIs(arguments.intf("INTF"),
                                         narrowed<unsigned short>(arguments.number("N"), "vlan"));
   return done;
}

}  // namespace

std::vector<Command> intfShowCommands() { return {{"show interfaces [INTF]", showInterfaces}}; }

std::vector<Command> intfConfigurationCommands() {
   return {{"interface INTF", chooseIntf, Stage::any},
           {"exit", exitIntf, Stage::any},
           {"no interface INTF", removeIntf},
           {"shutdown", enableIntf<false>},
           {"no shutdown", enableIntf<true>},
           {"description TEXT", describeIntf},
           {"no description", describeIntf},
           {"ip address A/L", addAddress},
           {"no ip address [A/L]", removeAddress},
           {"device NAME", nameDevice, Stage::beforePorts},
           {"vrf NAME", chooseVrf, Stage::beforePorts},
           {"no vrf", chooseVrf, Stage::beforePorts},
           {"simulate interface INTF create|delete", simulatePort},
           {"simulate interface INTF oper up|down|unknown", simulateLink},
           {"simulate interface INTF counter ACCESSOR N", simulateCounter},
           {"simulate ip interface INTF vlan N", simulateVlan}};
}

}  // namespace velm::embedded::commands
