// sbfd_echo_session_bulk calls of a thousand sessions, of new ones and then of the same again.

#include <fmt/format.h>

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/SbfdEchoSessions.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {
namespace {

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   std::size_t sessions = 16'000;
   std::size_t outstanding = 4;
   std::size_t rounds = 11;
};

/// A server and what it is asked in every round.
struct Contender {
   Contender(char const* name, std::string const& program, std::vector<std::string> arguments, Options const& options)
      : server(name, program, std::move(arguments)),
        add(subject.prepareFor(server, options.outstanding)(firstPlaces(options.sessions))) {}

   SbfdEchoSessions const sessions{};
   BulkSubject<SbfdEchoSessions> const subject{sessions};
   Server server;
   std::function<void()> const add;
   bool keeps = false;  // what is added, which must go before it is fresh again
};

Sample measure(Contender& contender, bool repeated, Options const& options) {
   auto const cpuBefore = contender.server.cpuSeconds();
   auto const begin = std::chrono::steady_clock::now();
   contender.add();
   auto const end = std::chrono::steady_clock::now();
   Sample const sample{std::chrono::duration<double>(end - begin).count(), contender.server.cpuSeconds() - cpuBefore};
   if (contender.keeps && !repeated) contender.subject.remove(contender.server, firstPlaces(options.sessions));
   return sample;
}

void compare(std::deque<Contender>& contenders, bool repeated, Options const& options, Report& report) {
   for (auto& contender : contenders) measure(contender, repeated, options);  // to warm up
   auto const samples = interleave(contenders.size(), options.rounds, [&](std::size_t contender, std::size_t) {
      return measure(contenders[contender], repeated, options);
   });
   auto const adds = static_cast<double>(options.sessions);
   for (std::size_t i = 0; i < contenders.size(); ++i) {
      auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
      report.row({repeated ? "repeated" : "fresh", contenders[i].server.name(),
                  adds / medianOf(samples[i], &Sample::seconds), speed.median, speed.low, speed.high,
                  medianOf(samples[i], &Sample::seconds) * 1e3, medianOf(samples[i], &Sample::cpuSeconds) / adds * 1e6,
                  ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds).median});
   }
}

void run(Options const& options) {
   Report report("sbfd_sessions",
                 fmt::format("{} {}, {} to a call, {} outstanding; {} rounds on each server in turn", options.sessions,
                             SbfdEchoSessions::name(), bulkSize, options.outstanding, options.rounds),
                 {{"sessions", "sessions"},
                  {"server", "server"},
                  {"sessions_per_second", "sessions/s"},
                  {"of_floor", "of floor", 3},
                  {"of_floor_low", "low", 3},
                  {"of_floor_high", "high", 3},
                  {"all_ms", "all ms", 1},
                  {"cpu_us_per_session", "CPU us/session", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 3}});
   report.fact("session_count", static_cast<double>(options.sessions));
   report.fact("outstanding", static_cast<double>(options.outstanding));
   report.fact("rounds", static_cast<double>(options.rounds));
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own. Fresh sessions meet an empty table, repeated ones change nothing.");
   std::deque<Contender> contenders;
   contenders.emplace_back("floor", options.floor, std::vector<std::string>(), options);
   auto& agent = contenders.emplace_back("agent", options.agent, quietly(), options);
   agent.keeps = true;
   openQuietSession(agent.server);
   for (bool const repeated : {false, true}) compare(contenders, repeated, options, report);
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
      .count("--sessions", options.sessions, "Sessions")
      .count("--rounds", options.rounds, "Rounds")
      .count("--outstanding", options.outstanding, "Calls in flight");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
