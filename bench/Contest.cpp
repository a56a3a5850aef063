#include "bench/Contest.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "bench/Routes.h"

namespace VelmSdkRpc::Bench {

void addContestOptions(Program& program, ContestOptions& options) {
   std::map<std::string, Order> orders;
   for (auto const order : {Order::ascending, Order::shuffled, Order::repeated}) orders.emplace(nameOf(order), order);
   program.agent(options.agent).floor(options.floor).json(options.json);
   program.app()
      .add_option("--order", options.orders, "Which keys are added; repeatable")
      ->transform(CLI::CheckedTransformer(orders))
      ->option_text("ascending|shuffled|repeated ...");
   program.count("--rounds", options.rounds, "Rounds")
      .count("--adds", options.adds, "Adds to each server in each round")
      .count("--outstanding", options.outstanding, "Calls in flight");
}

void addContestFacts(Report& report, ContestOptions const& options) {
   report.fact("outstanding", static_cast<double>(options.outstanding));
   report.fact("rounds", static_cast<double>(options.rounds));
   report.fact("adds_per_round", static_cast<double>(options.adds));
}

Contest::Contender::Contender(std::string name, std::string const& program, std::vector<std::string> arguments,
                              Places places)
   : server(std::move(name), program, std::move(arguments)), places(std::move(places)) {}

void Contest::enterFloor(std::size_t size) {
   auto& floor = contenders_.emplace_back("floor", options_.floor, std::vector<std::string>(), placesOf(size));
   floor.prepare = subject_.prepareFor(floor.server, options_.outstanding);
}

void Contest::enterAgent(char const* name, std::vector<std::string> arguments, std::size_t size) {
   auto& agent = contenders_.emplace_back(name, options_.agent, std::move(arguments), placesOf(size));
   agent.keeps = true;
   agent.prepare = subject_.prepareFor(agent.server, options_.outstanding);
   openSession(agent.server);
   subject_.add(agent.server, agent.places.table());
}

Places Contest::placesOf(std::size_t size) const {
   Places places(size, subject_.keys());
   if (places.fresh() < std::min(options_.adds, bulkSize)) {
      throw std::invalid_argument(
         fmt::format("a table of {} leaves {} keys fresh, too few for a call", size, places.fresh()));
   }
   return places;
}

Contest::Samples Contest::compare(Order order, std::size_t rounds) {
   auto const lap = this->lap();
   return interleave(contenders_.size(), rounds, [&](std::size_t contender, std::size_t round) {
      return measure(contenders_[contender], order, round, lap);
   });
}

// The same for all, so that they differ in nothing but their tables: what the smallest can take at once.
std::size_t Contest::lap() const {
   auto lap = options_.adds;
   for (auto const& contender : contenders_) lap = std::min(lap, contender.places.fresh());
   return lap;
}

Sample Contest::measure(Contender& contender, Order order, std::size_t round, std::size_t lap) const {
   Sample sample;
   for (std::size_t done = 0; done < options_.adds; done += lap) {
      auto const places = contender.places.of(order, round * options_.adds + done, std::min(lap, options_.adds - done));
      auto const [seconds, cpuSeconds] = timed(contender.server, contender.prepare(places));
      sample.seconds += seconds;
      sample.cpuSeconds += cpuSeconds;
      if (contender.keeps && order != Order::repeated) subject_.remove(contender.server, places);
   }
   return sample;
}

}  // namespace VelmSdkRpc::Bench
