#include <fmt/format.h>

#include <array>

#include "platform/switch/Switch.h"
#include "platform/switch/cli/Commands.h"

namespace velm::embedded::cli {
namespace {

constexpr auto done = "{}";

intf_id_t chosenIntf(Session const& session) {
   if (session.intf == intf_id_t()) throw configuration_error("no interface is chosen");
   return session.intf;
}

std::string chooseIntf(Session& session, Arguments const& arguments) {
   session.device.intfs.create(arguments.intf("INTF"));
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

std::string simulateLink(Session& session, Arguments const& arguments) {
   auto const& state = arguments.text("up|down|unknown");
   session.device.intfs.linkIs(arguments.intf("INTF"), state == "up"     ? oper_status_t::up
                                                       : state == "down" ? oper_status_t::down
                                                                         : oper_status_t::unknown);
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

std::vector<Command> switchConfigurationCommands() {
   return {{"interface INTF", chooseIntf},
           {"exit", exitIntf},
           {"no interface INTF", removeIntf},
           {"shutdown", enableIntf<false>},
           {"no shutdown", enableIntf<true>},
           {"description TEXT", describeIntf},
           {"no description", describeIntf},
           {"ip address A/L", addAddress},
           {"no ip address [A/L]", removeAddress},
           {"agent option KEY VALUE", setOption},
           {"no agent option KEY", removeOption},
           {"agent disable", disableAgent},
           {"simulate interface INTF oper up|down|unknown", simulateLink},
           {"simulate fail MANAGER.OPERATION ERROR TEXT [times N]", simulateFailure},
           {"simulate no fail", simulateNoFailure},
           {"simulate vapi delay N", simulateDelay}};
}

}  // namespace velm::embedded::cli
