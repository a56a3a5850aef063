#include <fmt/format.h>

#include "platform/switch/Json.h"
#include "platform/switch/SetAttribute.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/ChosenIntf.h"
#include "platform/switch/commands/Commands.h"
#include "platform/switch/commands/Narrow.h"

// Profiles themselves are the SDK's to set. Here an interface is given one, and the world outside reports what became
// of it.
namespace velm::embedded::commands {
namespace {

void writeMacsecIntf(JsonWriter& json, MacsecMgr const& macsec, intf_id_t const& intf, MacsecIntf const& row) {
   writeKey(json, intf.to_string());
   json.StartObject();
   writeMember(json, "intf_profile", std::string_view(row.profile));
   writeMember(json, "macsec_capable", row.capable);
   writeMember(json, "intf_status", macsec.intf_status(intf));
   writeMember(json, "intf_counters", macsec.intf_counters(intf));
   json.EndObject();
}

std::string showMacsec(Session& session, Arguments const&) {
   auto const& macsec = session.device.macsec;
   return jsonObject([&](JsonWriter& json) {
      writeRows(json, "profiles", macsec.profiles(), {}, [&](std::string const& name, macsec_profile_t const&) {
         writeMember(json, name, macsec.profile(name));
      });
      writeRows(json, "intfs", macsec.intfs(), {},
                [&](intf_id_t const& intf, MacsecIntf const& row) { writeMacsecIntf(json, macsec, intf, row); });
   });
}

// Without a name, as in `no mac security profile`, the interface uses none.
std::string useProfile(Session& session, Arguments const& arguments) {
   session.device.macsec.intf_profile_is(chosenIntf(session), arguments.text("NAME"));
   return done;
}

std::string simulateStatus(Session& session, Arguments const& arguments) {
   session.device.macsec.reportStatus(
      arguments.intf("INTF"), {enumOf<macsec_intf_key_status_t>(arguments.number("N:key"), "key-status"),
                               enumOf<macsec_intf_traffic_status_t>(arguments.number("N:traffic"), "traffic-status")});
   return done;
}

std::string simulateCounter(Session& session, Arguments const& arguments) {
   auto const intf = arguments.intf("INTF");
   auto const& accessor = arguments.text("ACCESSOR");
   auto counters = session.device.macsec.intf_counters(intf);
   if (!setAttribute(counters, accessor, arguments.number("N"))) {
      throw invalid_argument_error(fmt::format("no such counter {}", accessor));
   }
   session.device.macsec.countersAre(intf, counters);
   return done;
}

std::string simulateCapable(Session& session, Arguments const& arguments) {
   session.device.macsec.capableIs(arguments.intf("INTF"), arguments.text("true|false") == "true");
   return done;
}

}  // namespace

std::vector<Command> macsecShowCommands() { return {{"show macsec", showMacsec}}; }

std::vector<Command> macsecConfigurationCommands() {
   return {{"mac security profile NAME", useProfile},
           {"no mac security profile", useProfile},
           {"simulate macsec INTF key-status N:key traffic-status N:traffic", simulateStatus},
           {"simulate macsec INTF counter ACCESSOR N", simulateCounter},
           {"simulate macsec INTF capable true|false", simulateCapable}};
}

}  // namespace velm::embedded::commands
