// How long what happens to sBFD sessions takes to the client that listens, from just before the command that causes it:
// the failure of the link of all of them, and the change of a single one, on a quiet switch and while RTT figures storm
// to many listeners.

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bench/Percentiles.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/RttStorm.h"
#include "bench/SbfdAudience.h"
#include "bench/SbfdEchoSessions.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double goalLink = 50;   // milliseconds, at most
constexpr double goalStatus = 5;  // of the 99th percentile

constexpr auto oneStatus = "one status";

using Update = pb::sbfd_echo_session_oper_status_msg;

struct Options {
   std::string agent;
   std::string json;
   std::size_t sessions = 16'000;
   std::size_t failures = 20;
   std::size_t changes = 500;  // of a single session, in each load
   RttStorm::Options storm{};
   std::vector<std::size_t> lists{50, 2'000};
};

struct Delays {
   std::vector<double> answered;
   std::vector<double> heard;

   void add(Delay const& delay) {
      answered.push_back(delay.answered);
      heard.push_back(delay.heard);
   }
};

void addRow(Report& report, std::string load, std::string const& change, Delays const& delays,
            RttStorm::Tally const& tally) {
   auto const answered = percentilesOf(delays.answered);
   auto const heard = percentilesOf(delays.heard);
   bool const single = change == oneStatus;
   report.claim({.what = fmt::format("{}, load: {}, {}", change, load, single ? "p99" : "longest"),
                 .figure = single ? heard.p99 : heard.max,
                 .unit = "ms",
                 .mostFigure = single ? goalStatus : goalLink});
   report.row({std::move(load), change, answered.p50, answered.p99, heard.p50, heard.p99, heard.max, tally.raised,
               tally.heard, tally.figures, tally.last, tally.cpu, tally.cpuPerHeard});
}

void bringUp(Server& agent, SbfdAudience& audience, std::size_t sessions) {
   SbfdEchoSessions const kind{};
   auto const places = firstPlaces(sessions);
   BulkSubject<SbfdEchoSessions>(kind).add(agent, places);
   SbfdAudience::Commands commands;
   for (auto const place : places) {
      commands.add_commands(SbfdEchoSessions::simulateStatus(place, Update::STATUS_UP));
   }
   audience.run(commands);
}

bool tellsOfAll(SbfdBatch const& batch, std::size_t sessions, Update::status_enum status) {
   if (batch.size() != sessions + 1) return false;
   auto const updates = batch.parse();
   return updates.bulk(static_cast<int>(sessions)).end_of_status_batch() &&
          std::ranges::count(updates.bulk(), status, [](auto const& update) { return update.status().status(); }) ==
             static_cast<std::ptrdiff_t>(sessions);
}

void failLinks(SbfdAudience& audience, Options const& options, Report& report) {
   Delays failures;
   Delays recoveries;
   auto const linkIs = [&](bool up) {
      return audience.change(SbfdEchoSessions::simulateLink(up), [&](SbfdBatch const& batch) {
         return tellsOfAll(batch, options.sessions, up ? Update::STATUS_UP : Update::STATUS_DOWN);
      });
   };
   for (std::size_t i = 0; i < options.failures; ++i) {
      failures.add(linkIs(false));
      recoveries.add(linkIs(true));
   }
   addRow(report, "none", "link failure", failures, {});
   addRow(report, "none", "link recovery", recoveries, {});
}

// It may share the batch with statuses that others have raised.
bool tellsOf(SbfdBatch const& batch, Place place, Update::status_enum status) {
   if (!batch.first().has_status()) return false;
   auto const updates = batch.parse();
   return std::ranges::any_of(updates.bulk(), [&](auto const& update) {
      return update.has_status() && update.status().status() == status &&
             SbfdEchoSessions::placeOf(update.session_key()) == place;
   });
}

Delays changeStatuses(SbfdAudience& audience, Options const& options) {
   Delays delays;
   for (std::size_t i = 0; i < options.changes; ++i) {
      auto const place = static_cast<Place>(i % options.sessions);
      auto const status = i / options.sessions % 2 == 0 ? Update::STATUS_DOWN : Update::STATUS_UP;
      delays.add(audience.change(SbfdEchoSessions::simulateStatus(place, status),
                                 [&](SbfdBatch const& batch) { return tellsOf(batch, place, status); }));
   }
   return delays;
}

void changeInStorm(Server const& agent, SbfdAudience& audience, std::size_t list, Options const& options,
                   Report& report) {
   auto stormOptions = options.storm;
   stormOptions.list = list;
   RttStorm storm(agent, stormOptions);
   auto const delays = changeStatuses(audience, options);
   addRow(report, fmt::format("RTT, lists of {}", list), oneStatus, delays, storm.stop());
}

void run(Options const& options) {
   Report report("sbfd_updates",
                 fmt::format("from just before a command to the last byte of the statuses that it causes; {} sessions "
                             "on one link, {} failures, {} changes of one session in turn",
                             options.sessions, options.failures, options.changes),
                 {{"load", "load"},
                  {"change", "change"},
                  {"answer_p50_ms", "answer p50 ms", 3},
                  {"answer_p99_ms", "p99 ms", 3},
                  {"heard_p50_ms", "heard p50 ms", 3},
                  {"heard_p99_ms", "p99 ms", 3},
                  {"heard_max_ms", "max ms", 3},
                  {"figures_raised_per_second", "RTT raised/s"},
                  {"figures_heard_per_second", "heard/s"},
                  {"figures_per_batch", "/batch", 1},
                  {"last_ms", "last ms", 2},
                  {"cpus", "CPUs", 2},
                  {"cpu_us_per_figure", "CPU us/figure heard", 2}});
   report.fact("sessions", static_cast<double>(options.sessions));
   report.fact("failures", static_cast<double>(options.failures));
   report.fact("changes", static_cast<double>(options.changes));
   report.fact("listeners", static_cast<double>(options.storm.listeners));
   report.fact("goal_link_max_ms", goalLink);
   report.fact("goal_status_p99_ms", goalStatus);
   report.note(
      fmt::format("RTT: figures of {} sessions, raised by lists of commands without pause, to {} listeners on "
                  "{} connections;",
                  options.storm.sessions, options.storm.listeners, options.storm.connections));
   report.note(
      "\"heard\" is by each. \"last\" is when all had the last figures of all sessions, from the answer to the");
   report.note("last list on. A list holds the SDK lock: \"answer\" has that wait in it. CPU is the server's own.");
   report.note(fmt::format("Goal: link failure {:.0f} ms, one status p99 {:.0f} ms.", goalLink, goalStatus));
   Server agent("agent", options.agent, quietly());
   openQuietSession(agent);
   SbfdAudience audience(agent);
   bringUp(agent, audience, options.sessions);
   failLinks(audience, options, report);
   addRow(report, "none", oneStatus, changeStatuses(audience, options), {});
   for (auto const list : options.lists) changeInStorm(agent, audience, list, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("sbfd_updates",
                          "Measures how long what happens to sBFD sessions takes to a client that listens.");
   program.agent(options.agent)
      .json(options.json)
      .count("--sessions", options.sessions, "Sessions on the link")
      .count("--failures", options.failures, "Failures of the link")
      .count("--changes", options.changes, "Changes of a single session, under each load")
      .count("--list", options.lists, "RTT figures raised by one call; repeatable, one load for each")
      .count("--storm-sessions", options.storm.sessions, "Sessions that the RTT figures are of")
      .count("--listeners", options.storm.listeners, "Listeners in a storm")
      .count("--connections", options.storm.connections, "Connections that share them");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
