#include <fmt/format.h>

#include "platform/switch/Json.h"
#include "platform/switch/Switch.h"
#include "platform/switch/commands/Answers.h"
#include "platform/switch/commands/ChosenIntf.h"
#include "platform/switch/commands/Commands.h"

namespace velm::embedded::commands {
namespace {

void writeLag(JsonWriter& json, EthLagIntfMgr const& lags, intf_id_t const& lag) {
   writeKey(json, lag.to_string());
   json.StartObject();
   writeAttributes(json, lags.eth_lag_intf(lag));
   writeKey(json, "members");
   json.StartObject();
   for (auto const& intf : lags.members(lag)) writeMember(json, intf.to_string(), lags.membership_status(intf));
   json.EndObject();
   json.EndObject();
}

std::string showPortChannel(Session& session, Arguments const&) {
   auto const& lags = session.device.ethLagIntfs;
   return jsonObject([&](JsonWriter& json) {
      writeRows(json, "port_channels", lags.table(), {},
                [&](intf_id_t const& lag, Lag const&) { writeLag(json, lags, lag); });
   });
}

std::string joinLag(Session& session, Arguments const& arguments) {
   using mode_t = eth_lag_intf_member_lacp_mode_t;
   auto& lags = session.device.ethLagIntfs;
   auto const& mode = arguments.text("on|active|passive");
   intf_id_t const lag(fmt::format("Port-Channel{}", arguments.number("N")));
   lags.checkMember(chosenIntf(session));  // first: a member that is refused must not leave a new LAG
   lags.eth_lag_intf_is(lag);
   lags.membership_set(chosenIntf(session), lag,
                       mode == "on"       ? mode_t::on
                       : mode == "active" ? mode_t::active
                                          : mode_t::passive);
   return done;
}

std::string leaveLag(Session& session, Arguments const&) {
   session.device.ethLagIntfs.membership_del(chosenIntf(session));
   return done;
}

std::string simulateSpeed(Session& session, Arguments const& arguments) {
   session.device.ethLagIntfs.reportSpeed(arguments.intf("INTF"), arguments.number("N"));
   return done;
}

}  // namespace

std::vector<Command> lagShowCommands() { return {{"show port-channel", showPortChannel}}; }

std::vector<Command> lagConfigurationCommands() {
   return {{"channel-group N mode on|active|passive", joinLag},
           {"no channel-group", leaveLag},
           {"simulate port-channel INTF speed N", simulateSpeed}};
}

}  // namespace velm::embedded::commands
