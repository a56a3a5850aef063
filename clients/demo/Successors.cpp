// Successors of the controller: one takes over what it has left, another finds all of it after the agent was started
// again; and the sessions that test the ways out, watched live until the agent stops.
//
//    takeOver       init tells that all is there, RESYNC_START, what is to stay, RESYNC_END: the rest goes
//    testTheWays    sBFD sessions, told up on a stream
//    startAgain     SIGTERM, and a new process on the same state folder: every controller is a stranger to it
//    watchSessions  round-trip times, a link that fails, the end of the stream with the agent
//
// A stream is opened before the call whose effects it is to tell, since it tells only what is new.

#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <ranges>

#include "clients/demo/Stage.h"

namespace VelmSdkRpc::demo {
namespace {

using Status = pb::sbfd_echo_session_oper_status_msg;
using Batch = pb::watch_sbfd_echo_session_status_msg;
using Times = std::map<std::string, double>;  // by session, in milliseconds

// Sessions go by their labels here.
std::string nameOf(Batch const& update) { return fmt::format("{}", fmt::join(update.session_key().labels(), " ")); }

/// The agent's stream of statuses and round-trip times.
class Updates {
 public:
   /// Opens the stream, which carries all that is caused by calls that come after it on the same channel.
   explicit Updates(Controller const& controller) {
      context_.set_deadline(std::chrono::system_clock::now() + 3 * waitLimit);
      reader_ = controller.stub->watch_sbfd_echo_session_status_msgs(&context_, {});
   }

   /// The next batch of statuses, or of round-trip times; others before it are passed over.
   Batch next(bool ofStatuses) {
      for (Batch batch; reader_->Read(&batch);) {
         if (batch.bulk(0).has_status() == ofStatuses) return batch;
      }
      throw std::runtime_error("the stream has ended");
   }

   /// The next statuses tell exactly these sessions to have the status; how long after the start each was told.
   Times expectStatus(Clock::time_point start, Words const& names, Status::status_enum status) {
      Times times;
      while (times.size() < names.size()) {
         auto const batch = next(true);
         for (auto const& update : batch.bulk() | std::views::take(batch.bulk_size() - 1)) {  // but for the end marker
            expect(update.status().status() == status && std::ranges::find(names, nameOf(update)) != names.end(),
                   fmt::format("only the sessions {} change, not {}", fmt::join(names, ", "), nameOf(update)));
            times[nameOf(update)] = millisecondsSince(start);
         }
      }
      return times;
   }

   void expectEnd() {
      for (Batch batch; reader_->Read(&batch);) continue;
      expect(reader_->Finish().error_code() != grpc::StatusCode::DEADLINE_EXCEEDED, "the stream ends with the agent");
   }

 private:
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<Batch>> reader_;
};

void giveUp(Words& words) {
   std::erase_if(words, [](auto const& text) {
      return text.find("spread") != std::string::npos || text.find("green") != std::string::npos;
   });
}

void roundTripTimesArrive(Stage& stage, Updates& updates) {
   stage.chapter("Round-trip times, live (watch_sbfd_echo_session_status_msgs)");
   std::map<std::string, Columns::Row> rows;
   while (rows.size() < 2) {
      auto const batch = updates.next(false);
      for (auto const& update : batch.bulk()) {
         auto const& rtt = update.rtt();
         rows[nameOf(update)] = {nameOf(update), std::to_string(rtt.last_rtt()), std::to_string(rtt.min_rtt()),
                                 std::to_string(rtt.avg_rtt()), std::to_string(rtt.max_rtt())};
      }
   }
   expect(rows.contains("16001") && rows.contains("16001 17002"), "only sessions that ask for it are measured");
   say("Sessions that were asked to measure report once a second, in the switch's own unit:");
   show({"", "session|last|min|avg|max", "", ""}, {rows["16001"], rows["16001 17002"]});
}

void aResyncTellsWhereAllStand(Stage& stage, Updates& updates) {
   stage.chapter("The end of a resync tells where every session stands");
   stage.plan.sessions.pop_back();
   auto const start = Clock::now();
   stage.controller.program(&Stub::rpc_server_resync, "resync_state=RESYNC_START");
   stage.controller.program(stage.plan);
   stage.controller.program(&Stub::rpc_server_resync, "resync_state=RESYNC_END");
   updates.expectStatus(start, {"16001", "16001 17001", "16001 17002"}, Status::STATUS_UP);
   await([&] { return sessions.rows(stage.controller.console).size() == 3; }, "the session not repeated goes");
   say("The stream tells changes, and these sessions came up before it was opened. So the controller opens a");
   say("resync and repeats all but one session. RESYNC_END deletes that one and tells that the others are up.");
}

void aLinkFailsAndComesBack(Stage& stage, Updates& updates) {
   stage.chapter("A link fails (run_config_cmds \"simulate interface Ethernet1 oper down\")");
   say("A session that tracks its interface is down as soon as that is. The other one first misses its packets.");
   auto const start = Clock::now();
   stage.controller.console.configure({"simulate interface Ethernet1 oper down"});
   auto times = updates.expectStatus(start, {"16001", "16001 17001"}, Status::STATUS_DOWN);
   auto const detected = updates.expectStatus(start, {"16001", "16001 17001", "16001 17002"}, Status::STATUS_DOWN);
   times["16001 17002"] = detected.at("16001 17002");
   expect(times["16001 17002"] >= 300, "three packets are missed first, one each 100 ms");
   SwitchTable::Rows rows;
   for (auto const& [name, time] : times) rows.push_back({name, fmt::format("{:.1f} ms", time)});
   show({"", "session|told down after", "", ""}, rows);
   auto const again = Clock::now();
   stage.controller.console.configure({"simulate interface Ethernet1 oper up"});
   times = updates.expectStatus(again, {"16001", "16001 17001", "16001 17002"}, Status::STATUS_UP);
   say("The link comes back, and {:.0f} ms later the last of them is up again.",
       std::ranges::max(std::views::values(times)));
}

void oneSessionIsDeleted(Stage& stage, Updates& updates) {
   stage.chapter("A session is deleted (sbfd_echo_session)");
   stage.controller.program(&Stub::sbfd_echo_session, stage.plan.sessions[0] + " request_delete=true");
   stage.controller.console.configure({"simulate interface Ethernet1 oper down"});
   updates.expectStatus(Clock::now(), {"16001 17001"}, Status::STATUS_DOWN);
   say("When the link fails once more, the stream tells at once that `16001 17001` is down, and nothing of `16001`,");
   say("which was deleted before.");
}

}  // namespace

void takeOver(Stage& stage) {
   stage.chapter("A new controller takes over (rpc_server_resync)");
   say("What is programmed outlives the controller that set it: traffic flows on while it is away. Its successor");
   say("learns from rpc_server_init what there is, opens a resync, and repeats what is to stay. It gives up the group");
   say("`spread` and the VRF `green` with all that leads there, and most of the routes.");
   Controller successor(stage.agent);
   auto expected = stateOf(successor.console);
   successor.init(true);
   successor.program(&Stub::rpc_server_resync, "resync_state=RESYNC_START");
   for (auto* const words :
        {&stage.plan.groups, &stage.plan.routes, &stage.plan.labels, &stage.plan.tunnels, &stage.plan.redirects}) {
      giveUp(*words);
   }
   stage.plan.routes.resize(5);
   successor.program(stage.plan);
   expect(tunnels.rows(successor.console).size() == 3, "nothing goes before the resync ends");
   expect(routes.rows(successor.console).size() == 9'999, "nothing goes before the resync ends");
   say("It repeats {} routes. Until it closes the resync all that was there stays; then what it repeated is left, and",
       stage.plan.routes.size());
   say("nothing else:");
   successor.program(&Stub::rpc_server_resync, "resync_state=RESYNC_END");
   for (auto& [table, lines] : expected) giveUp(lines);
   expected[&groups] = {"north 2 yes 0 Ethernet1 192.0.2.1 16001", "south 2 yes 0 Ethernet2 192.0.2.5 16002"};
   expected[&routes] = {"10.0.0.0/24 100 north", "10.0.3.0/24 100 north", "10.0.4.0/24 100 south",
                        "10.0.6.0/24 100 north", "10.0.7.0/24 100 south"};
   for (auto const* const table : {&routes, &groups, &labels, &vrfLabels, &tunnels}) {
      showLines(successor.console, *table, expected[table]);
   }
   await([&] { return stateOf(successor.console) == expected; }, "all else is left as it was repeated");
   say("A second later the redirect of `spread` has gone too, and the other stands.");
}

void startAgain(Stage& stage) {
   stage.chapter("The agent stops (SIGTERM), starts again and finds everything (--switch-state)");
   auto expected = stateOf(stage.controller.console);
   auto start = Clock::now();
   stage.stopAgent();
   say("It shut down in order: exit status 0 after {:.0f} ms. The switch keeps its state in a folder that outlives the",
       millisecondsSince(start));
   start = Clock::now();
   stage.agent.restart();
   stage.awaitService();
   stage.controller = Controller(stage.agent);
   auto& successor = stage.controller;
   say(
      "process. {:.0f} ms after the start the agent serves again, with all that there was. It has programmed the "
      "groups",
      millisecondsSince(start));
   say("anew, and the sessions are up again:");
   expected[&groups] = {"north 1 yes 0 Ethernet1 192.0.2.1 16001", "south 1 yes 0 Ethernet2 192.0.2.5 16002"};
   await([&] { return stateOf(successor.console) == expected; }, "the switch holds what it held");
   show(sessions, sessions.rows(successor.console));
   auto const refusal = successor.ask(&Stub::ip_route, "prefix=10.0.0.0/24");
   expect(refusal.status() == pb::rpc_status_msg::STATUS_NOT_INITIALIZED, "a stranger programs nothing");
   auto const notes = successor.ask(&Stub::get_rpc_server_state, R"(value=[{"key":"demo/revision"}])");
   expect(notes.value_size() == 1 && notes.value(0).value() == "42", "the note of the first controller is there");
   successor.init(true);
   say("To a new start of the agent every controller is a stranger: until rpc_server_init it programs nothing,");
   say("STATUS_NOT_INITIALIZED. But it hands out the notes that the first controller left: demo/revision is 42.");
}

void testTheWays(Stage& stage) {
   stage.chapter("Sessions that test the ways out (sbfd_echo_session_bulk)");
   say("A session sends packets down a way, on labels that bring them back, and so notices when a way is broken. The");
   say("controller reads on a stream how they do. It opens that first, for the stream tells only what is new.");
   constexpr auto session =
      "session_key.outgoing_interface=Ethernet{} session_key.nexthop=192.0.2.{} session_key.labels=[{}] min_tx=100 "
      "detection_multiplier=3 rtt_enabled={} track_interface_state={}";
   stage.plan.sessions = {
      fmt::format(session, 1, 1, "16001", true, true), fmt::format(session, 1, 1, "16001,17001", false, true),
      fmt::format(session, 1, 1, "16001,17002", true, false), fmt::format(session, 2, 5, "16002", false, false)};
   Updates updates(stage.controller);
   auto const start = Clock::now();
   stage.controller.program(&Stub::sbfd_echo_session_bulk, stage.plan.sessions);
   auto const times = updates.expectStatus(start, {"16001", "16001 17001", "16001 17002", "16002"}, Status::STATUS_UP);
   showLines(stage.controller.console, sessions,
             {"Ethernet1 192.0.2.1 16001 100 3 yes 3", "Ethernet1 192.0.2.1 16001 17001 100 3 no 3",
              "Ethernet1 192.0.2.1 16001 17002 100 3 yes 3", "Ethernet2 192.0.2.5 16002 100 3 no 3"});
   say("The stream told that each of the {} came up, which is status 3, the last one {:.0f} ms after the request.",
       times.size(), std::ranges::max(std::views::values(times)));
}

void watchSessions(Stage& stage) {
   Updates updates(stage.controller);
   for (auto const play :
        {roundTripTimesArrive, aResyncTellsWhereAllStand, aLinkFailsAndComesBack, oneSessionIsDeleted}) {
      play(stage, updates);
   }
   stage.chapter("The end of the stream (SIGTERM)");
   stage.stopAgent();
   updates.expectEnd();
   say("The agent ends in order, and with it the stream: so the controller learns that the agent has gone.");
}

}  // namespace VelmSdkRpc::demo
