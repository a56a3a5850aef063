#include "bench/Rounds.h"

#include <algorithm>
#include <chrono>

#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

Sample timed(Server const& server, std::function<void()> const& calls) {
   auto const cpuBefore = server.cpuSeconds();
   auto const begin = std::chrono::steady_clock::now();
   calls();
   auto const end = std::chrono::steady_clock::now();
   return {std::chrono::duration<double>(end - begin).count(), server.cpuSeconds() - cpuBefore};
}

std::vector<std::vector<Sample>> interleave(
   std::size_t servers, std::size_t rounds,
   std::function<Sample(std::size_t server, std::size_t round)> const& measure) {
   std::vector<std::vector<Sample>> samples(servers);
   for (std::size_t round = 0; round < rounds; ++round) {
      for (std::size_t turn = 0; turn < servers; ++turn) {
         auto const server = round % 2 == 0 ? turn : servers - 1 - turn;
         samples[server].push_back(measure(server, round));
      }
   }
   return samples;
}

double median(std::vector<double> values) {
   std::ranges::sort(values);
   auto const middle = values.size() / 2;
   return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Spread ratioOfPairs(std::span<Sample const> above, std::span<Sample const> below, double Sample::*member) {
   std::vector<double> ratios;
   for (std::size_t i = 0; i < above.size(); ++i) ratios.push_back(above[i].*member / below[i].*member);
   auto const [low, high] = std::ranges::minmax(ratios);
   return {median(ratios), low, high};
}

double medianOf(std::span<Sample const> samples, double Sample::*member) {
   std::vector<double> values;
   for (auto const& sample : samples) values.push_back(sample.*member);
   return median(std::move(values));
}

double meanOf(std::span<Sample const> samples, double Sample::*member) {
   double sum = 0;
   for (auto const& sample : samples) sum += sample.*member;
   return sum / static_cast<double>(samples.size());
}

}  // namespace VelmSdkRpc::Bench
