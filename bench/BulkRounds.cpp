#include "bench/BulkRounds.h"

#include <fmt/format.h>

#include <utility>

namespace VelmSdkRpc::Bench {

BulkRounds::Contender::Contender(std::string name, std::string const& program, std::vector<std::string> arguments)
   : server(std::move(name), program, std::move(arguments)) {}

BulkRounds::Contender& BulkRounds::enter(char const* name, std::string const& program,
                                         std::vector<std::string> arguments) {
   auto& contender = contenders_.emplace_back(name, program, std::move(arguments));
   contender.add = subject_.prepareFor(contender.server, options_.outstanding)(firstPlaces(options_.entries));
   return contender;
}

void BulkRounds::enterFloor(std::string const& program) { enter("floor", program, {}); }

Server& BulkRounds::enterAgent(char const* name, std::string const& program, std::vector<std::string> arguments) {
   auto& agent = enter(name, program, std::move(arguments));
   agent.keeps = true;
   return agent.server;
}

BulkRounds::Samples BulkRounds::compare(bool repeated, Witness const& witness) {
   for (auto& contender : contenders_) measure(contender, repeated, {});  // to warm up
   return interleave(contenders_.size(), options_.rounds,
                     [&](std::size_t server, std::size_t) { return measure(contenders_[server], repeated, witness); });
}

Sample BulkRounds::measure(Contender& contender, bool repeated, Witness const& witness) {
   bool const witnessed = contender.keeps && witness;
   auto const witnessedAfter = witnessed ? witness(contender.server) : nullptr;
   auto const sample = timed(contender.server, contender.add);
   if (witnessedAfter) witnessedAfter();
   if (contender.keeps && !repeated) subject_.remove(contender.server, firstPlaces(options_.entries));
   return sample;
}

std::vector<Report::Column> bulkColumns(std::string const& entry) {
   auto const entries = entry + "s";
   return {{entries, entries},
           {"server", "server"},
           {entries + "_per_second", entries + "/s"},
           {"of_floor", "of floor", 3},
           {"of_floor_low", "low", 3},
           {"of_floor_high", "high", 3},
           {"all_ms", "all ms", 1},
           {"cpu_us_per_" + entry, "CPU us/" + entry, 2},
           {"cpu_of_floor", "floor CPU/CPU", 3}};
}

void addBulkNotes(Report& report) {
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own, and a mean. Fresh entries meet an empty table, repeated ones change nothing.");
}

std::vector<Report::Cell> bulkRow(char const* which, std::string const& server, std::size_t entries,
                                  std::vector<Sample> const& floor, std::vector<Sample> const& own) {
   auto const adds = static_cast<double>(entries);
   auto const seconds = medianOf(own, &Sample::seconds);
   auto const speed = ratioOfPairs(floor, own, &Sample::seconds);
   auto const cpuSeconds = meanOf(own, &Sample::cpuSeconds);
   return {which,
           server,
           adds / seconds,
           speed.median,
           speed.low,
           speed.high,
           seconds * 1e3,
           cpuSeconds / adds * 1e6,
           meanOf(floor, &Sample::cpuSeconds) / cpuSeconds};
}

Report::Claim bulkClaim(std::string const& entry, char const* which, std::string const& server, std::size_t entries,
                        std::vector<Sample> const& floor, std::vector<Sample> const& own) {
   return {.what = fmt::format("{} {} {}s, {}", entries, which, entry, server),
           .figure = static_cast<double>(entries) / medianOf(own, &Sample::seconds),
           .unit = entry + "s/s",
           .ratio = ratioOfPairs(floor, own, &Sample::seconds)};
}

}  // namespace VelmSdkRpc::Bench
