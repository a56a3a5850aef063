#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// Rounds that decide between contenders on a machine that is shared and never still: each round does the same work on
/// each of them, one right after the other, and every other round in the reverse order. What is compared is then each
/// round's pair, so that what disturbs a round disturbs both sides.
namespace VelmSdkRpc::Bench {

/// The time that one contender spent on the work of one round, in seconds.
struct Sample {
   double seconds = 0;     // from the first call to the last answer
   double cpuSeconds = 0;  // of the server's process, all threads
};

/// `measure(contender, round)` does the work of one contender in one round. What it gives comes by contender, then by
/// round.
template <class Measure>
auto interleave(std::size_t contenders, std::size_t rounds, Measure const& measure) {
   std::vector<std::vector<decltype(measure(std::size_t(), std::size_t()))>> results(contenders);
   for (std::size_t round = 0; round < rounds; ++round) {
      for (std::size_t turn = 0; turn < contenders; ++turn) {
         auto const contender = round % 2 == 0 ? turn : contenders - 1 - turn;
         results[contender].push_back(measure(contender, round));
      }
   }
   return results;
}

/// The middle of the values; of an even number the mean of the two in the middle. At least one value.
inline double median(std::vector<double> values) {
   std::ranges::sort(values);
   auto const middle = values.size() / 2;
   return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

/// One member of every round's result.
template <class Result>
std::vector<double> each(std::vector<Result> const& results, double Result::*member) {
   std::vector<double> values;
   for (auto const& result : results) values.push_back(result.*member);
   return values;
}

/// Ratios of pairs, one a round.
struct Spread {
   double median = 0;
   double low = 0;
   double high = 0;
};

/// `member` of `above` divided by that of `below`, round by round.
template <class Result>
Spread ratioOfPairs(std::vector<Result> const& above, std::vector<Result> const& below, double Result::*member) {
   std::vector<double> ratios;
   for (std::size_t i = 0; i < above.size(); ++i) ratios.push_back(above[i].*member / below[i].*member);
   auto const [low, high] = std::ranges::minmax(ratios);
   return {median(ratios), low, high};
}

}  // namespace VelmSdkRpc::Bench
