#include "bench/SbfdEchoSessions.h"

#include <fmt/format.h>

#include "bench/CommandLine.h"
#include "bench/Routes.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr auto intf = "Ethernet1";
constexpr Place firstLabel = 100'000;
constexpr std::uint32_t lastLabel = 16;  // of every path

std::string simulate(Place place) {
   return fmt::format("simulate sbfd {} 10.0.0.1 labels {},{} dscp 0 exp 0", intf, firstLabel + place, lastLabel);
}

}  // namespace

SbfdEchoSessions::Element SbfdEchoSessions::add(Place place) const {
   auto session = removal(place);
   session.set_request_delete(false);
   session.set_rtt_enabled(true);
   session.set_min_tx(300);
   session.set_detection_multiplier(3);
   session.set_track_interface_state(true);
   return session;
}

SbfdEchoSessions::Element SbfdEchoSessions::removal(Place place) const {
   Element session;
   auto& key = *session.mutable_session_key();
   key.set_outgoing_interface(intf);
   key.mutable_nexthop()->set_addr(std::string("\x0a\0\0\x01", 4));
   key.add_labels(firstLabel + place);
   key.add_labels(lastLabel);
   session.set_request_delete(true);
   return session;
}

Place SbfdEchoSessions::placeOf(pb::sbfd_echo_session_key_msg const& key) { return key.labels(0) - firstLabel; }

std::string SbfdEchoSessions::simulateStatus(Place place, int status) {
   return fmt::format("{} status {}", simulate(place), status);
}

std::string SbfdEchoSessions::simulateRtt(Place place, std::uint32_t rtt) {
   return fmt::format("{0} rtt {1} {1} {1} {1} {1} {1} {1}", simulate(place), rtt);
}

std::string SbfdEchoSessions::simulateLink(bool up) {
   return fmt::format("simulate interface {} oper {}", intf, up ? "up" : "down");
}

void openQuietSession(Server& agent) {
   Client client;
   CommandLine::Commands commands;
   commands.add_commands("simulate sbfd auto off");
   CommandLine(client, agent.newChannel()).run(commands);
   openSession(agent);
}

}  // namespace VelmSdkRpc::Bench
