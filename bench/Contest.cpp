#include "bench/Contest.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

// Entries that were added are removed again between the rounds, outside the time, so that every round meets a table of
// the same size. Where a kind has few keys, a round is cut into laps of as many adds as there are fresh keys.
//
//    for each round, for each server:   make requests | send, timed | remove what was added
namespace VelmSdkRpc::Bench {

std::size_t Contest::enterFloor(std::string const& program, std::size_t size) {
   contenders_.emplace_back(program, std::vector<std::string>(), placesOf(size), false);
   return contenders_.size() - 1;
}

std::size_t Contest::enterAgent(std::string const& program, std::vector<std::string> arguments, std::size_t size) {
   auto& agent = contenders_.emplace_back(program, std::move(arguments), placesOf(size), true);
   prepare(agent.server, options_.kind);
   add(agent.server, options_.kind, agent.places.table(), options_.elements);
   return contenders_.size() - 1;
}

std::vector<std::vector<Sample>> Contest::compare(Order order, std::size_t rounds) {
   auto const lap = this->lap();
   return interleave(contenders_.size(), rounds, [&](std::size_t contender, std::size_t round) {
      return measure(contenders_[contender], order, round, lap);
   });
}

Places Contest::placesOf(std::size_t size) const {
   Places places(size, options_.kind.keys);
   if (options_.changes && places.fresh() < std::min(options_.perRound, bulkSize)) {
      throw std::invalid_argument(
         fmt::format("a table of {} leaves {} keys fresh, too few for a call", size, places.fresh()));
   }
   return places;
}

// How many entries are added before they are removed again: for all servers what the smallest table has fresh keys for,
// so that the rounds differ in nothing but the tables.
std::size_t Contest::lap() const {
   auto lap = options_.perRound;
   for (auto const& contender : contenders_) lap = std::min(lap, contender.places.fresh());
   return lap;
}

Sample Contest::measure(Contender& contender, Order order, std::size_t round, std::size_t lap) const {
   Sample sample;
   for (std::size_t done = 0; done < options_.perRound; done += lap) {
      auto const places =
         contender.places.of(order, round * options_.perRound + done, std::min(lap, options_.perRound - done));
      auto const requests = options_.calls(places);
      auto const [seconds, cpuSeconds] = timed(
         contender.server, [&] { send(requests, contender.client, contender.server.channel(), options_.outstanding); });
      sample.seconds += seconds;
      sample.cpuSeconds += cpuSeconds;
      if (contender.keeps && options_.changes && order != Order::repeated) {
         remove(contender.server, options_.kind, places, options_.elements);
      }
   }
   return sample;
}

}  // namespace VelmSdkRpc::Bench
