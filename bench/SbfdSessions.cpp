// sbfd_echo_session_bulk calls of a thousand sessions, of new ones and then of the same again.

#include <fmt/format.h>

#include <string>

#include "bench/BulkRounds.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/SbfdEchoSessions.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   BulkRounds::Options rounds{.entries = 16'000, .outstanding = 4, .rounds = 11};
};

void compare(BulkRounds& rounds, bool repeated, Options const& options, Report& report) {
   auto const samples = rounds.compare(repeated);
   for (std::size_t i = 0; i < rounds.servers(); ++i) {
      auto const* const which = repeated ? "repeated" : "fresh";
      auto const sessions = options.rounds.entries;
      report.row(bulkRow(which, rounds.nameOf(i), sessions, samples[0], samples[i]));
      if (i != 0) report.claim(bulkClaim("session", which, rounds.nameOf(i), sessions, samples[0], samples[i]));
   }
}

void run(Options const& options) {
   auto const& [sessions, outstanding, roundCount] = options.rounds;
   Report report("sbfd_sessions",
                 fmt::format("{} {}, {} to a call, {} outstanding; {} rounds on each server in turn", sessions,
                             SbfdEchoSessions::name(), bulkSize, outstanding, roundCount),
                 bulkColumns("session"));
   report.fact("session_count", static_cast<double>(sessions));
   report.fact("outstanding", static_cast<double>(outstanding));
   report.fact("rounds", static_cast<double>(roundCount));
   addBulkNotes(report);
   SbfdEchoSessions const kind{};
   BulkSubject<SbfdEchoSessions> const subject(kind);
   BulkRounds rounds(subject, options.rounds);
   rounds.enterFloor(options.floor);
   openQuietSession(rounds.enterAgent("agent", options.agent, quietly()));
   for (bool const repeated : {false, true}) compare(rounds, repeated, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("sbfd_sessions", "Compares the agent with a floor: sBFD sessions in bulk.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--sessions", options.rounds.entries, "Sessions")
      .count("--rounds", options.rounds.rounds, "Rounds")
      .count("--outstanding", options.rounds.outstanding, "Calls in flight");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
