// cbf_nexthop_group_redirect_bulk calls of all redirects at once: of new ones, and of the same again; and the
// rpc_server_init that reads them back when the agent has been stopped and started. What they ask of the switch is
// counted, and a run in which that is not what it has to be fails.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/BulkRounds.h"
#include "bench/NhgRedirects.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Routes.h"
#include "bench/Server.h"
#include "bench/SwitchCalls.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr auto policyMap = "policy-map-1";
constexpr double goalRestored = 1;  // seconds

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   NhgRedirects kind{};
   BulkRounds::Options rounds{.entries = 4'000, .outstanding = 1, .rounds = 11};
   std::size_t starts = 5;
};

// The calls that are shown: key and title of their columns, and the operation.
struct ShownCall {
   char const* key;
   char const* title;
   char const* operation;
};
constexpr ShownCall shownCalls[]{{"acl_rule_set_calls", "rules", "acl_mgr.acl_rule_set"},
                                 {"acl_commit_calls", "commits", "acl_mgr.acl_commit"},
                                 {"class_map_is_calls", "class maps", "class_map_mgr.class_map_is"},
                                 {"policy_map_is_calls", "policy maps", "policy_map_mgr.policy_map_is"}};

std::vector<Report::Column> columns() {
   auto columns = bulkColumns("redirect");
   for (auto const& shown : shownCalls) columns.push_back({shown.key, shown.title});
   return columns;
}

std::vector<Report::Cell> withCalls(std::vector<Report::Cell> row, CallCounts const& calls) {
   for (auto const& shown : shownCalls) {
      auto const found = calls.find(shown.operation);
      row.emplace_back(found == calls.end() ? 0 : static_cast<double>(found->second));
   }
   return row;
}

BulkRounds::Witness expecting(CallCounts const& expected) {
   return [expected](Server& agent) {
      return [expected, &agent, before = NhgRedirects::callsOf(agent)] {
         auto const calls = difference(NhgRedirects::callsOf(agent), before);
         if (calls == expected) return;
         throw std::runtime_error(fmt::format("the calls to the switch are {}, not {}", calls, expected));
      };
   };
}

template <class Work>
void expectDuring(Server& agent, CallCounts const& expected, Work const& work) {
   auto const witnessedAfter = expecting(expected)(agent);
   work();
   witnessedAfter();
}

void compare(BulkRounds& rounds, bool repeated, Options const& options, Report& report) {
   auto const redirects = options.rounds.entries;
   auto const calls = repeated ? NhgRedirects::callsForRepeated() : options.kind.callsForNew(redirects);
   auto const samples = rounds.compare(repeated, expecting(calls));
   for (std::size_t i = 0; i < rounds.servers(); ++i) {
      auto const* const which = repeated ? "repeated" : "fresh";
      auto row = bulkRow(which, rounds.nameOf(i), redirects, samples[0], samples[i]);
      report.row(withCalls(std::move(row), i == 0 ? CallCounts() : calls));
      if (i != 0) report.claim(bulkClaim("redirect", which, rounds.nameOf(i), redirects, samples[0], samples[i]));
   }
}

void compareAll(RedirectSubject const& subject, Options const& options, Report& report) {
   TempFolder const folder;
   BulkRounds rounds(subject, options.rounds);
   rounds.enterFloor(options.floor);
   initSession(rounds.enterAgent("agent", options.agent, quietly()), policyMap);
   initSession(rounds.enterAgent("agent, state", options.agent, quietlyIn(folder.path())), policyMap);
   initSession(rounds.enterAgent("agent, trace 1", options.agent, {}), policyMap);
   for (bool const repeated : {false, true}) compare(rounds, repeated, options, report);
}

void fill(RedirectSubject const& subject, Options const& options, std::string const& folder) {
   auto const redirects = options.rounds.entries;
   Server agent("agent", options.agent, quietlyIn(folder));
   initSession(agent, policyMap);
   expectDuring(agent, options.kind.callsForNew(redirects), [&] { subject.add(agent, firstPlaces(redirects)); });
   agent.stop();
}

// The init that names the policy map, behind one that does not.
std::pair<Sample, Sample> restoreOnce(RedirectSubject const& subject, Options const& options,
                                      std::string const& folder) {
   auto const redirects = options.rounds.entries;
   Server agent("agent", options.agent, quietlyIn(folder));
   std::pair<Sample, Sample> samples;
   bool exists = false;
   expectDuring(agent, {}, [&] { samples.first = timed(agent, [&] { initSession(agent); }); });
   expectDuring(agent, NhgRedirects::callsForRestored(redirects), [&] {
      samples.second = timed(agent, [&] { exists = initSession(agent, policyMap).cbf_policy_map_exists(); });
   });
   if (!exists) throw std::runtime_error("rpc_server_init does not tell of the policy map");
   expectDuring(agent, NhgRedirects::callsForRepeated(), [&] { subject.add(agent, firstPlaces(redirects)); });
   agent.stop();
   return samples;
}

void restore(RedirectSubject const& subject, Options const& options, Report& report) {
   TempFolder const folder;
   fill(subject, options, folder.path());
   BulkRounds::Samples samples(2);
   for (std::size_t i = 0; i < options.starts; ++i) {
      auto const [bare, restoring] = restoreOnce(subject, options, folder.path());
      samples[0].push_back(bare);
      samples[1].push_back(restoring);
   }
   auto const redirects = options.rounds.entries;
   report.row(withCalls(bulkRow("restored", "agent, init alone", redirects, samples[0], samples[0]), {}));
   report.row(withCalls(bulkRow("restored", "agent, state", redirects, samples[0], samples[1]),
                        NhgRedirects::callsForRestored(redirects)));
   report.claim({.what = fmt::format("{} restored", redirects),
                 .figure = medianOf(samples[1], &Sample::seconds),
                 .unit = "s",
                 .mostFigure = goalRestored});
   // The agent knew all of them, or it would have written those anew that were sent again.
   report.fact("restored", static_cast<double>(redirects));
}

void run(Options const& options) {
   auto const& [redirects, outstanding, roundCount] = options.rounds;
   Report report("cbf_redirects",
                 fmt::format("{} {} of {} DSCP values for each family, all in one call; {} rounds on each server in "
                             "turn, {} restarts",
                             redirects, NhgRedirects::name(), options.kind.values, roundCount, options.starts),
                 columns());
   report.fact("redirect_count", static_cast<double>(redirects));
   report.fact("values", static_cast<double>(options.kind.values));
   report.fact("rounds", static_cast<double>(roundCount));
   report.fact("starts", static_cast<double>(options.starts));
   report.fact("goal_restored_seconds", goalRestored);
   addBulkNotes(report);
   report.note(
      "Restored ones are read back by the first rpc_server_init that names the policy map, whose floor is one that");
   report.note(
      "names none. The last columns are the writes that a request asks of the switch, of ACL rules, class maps and");
   report.note("the policy map: the same in every round.");
   report.note(fmt::format("Goal: restored in {:.0f} ms.", goalRestored * 1e3));
   RedirectSubject const subject(options.kind, redirects);
   compareAll(subject, options, report);
   restore(subject, options, report);
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("cbf_redirects", "Compares the agent with a floor: redirects of DSCP values in bulk.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--redirects", options.rounds.entries, "Redirects")
      .count("--values", options.kind.values, "DSCP values of each family in a redirect")
      .count("--rounds", options.rounds.rounds, "Rounds")
      .count("--starts", options.starts, "Restarts of the agent");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
