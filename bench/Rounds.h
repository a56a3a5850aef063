#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace VelmSdkRpc::Bench {

class Server;

/// What one server spent on the work of one round.
struct Sample {
   double seconds = 0;     // from the first call to the last answer
   double cpuSeconds = 0;  // of the server's process, all threads
};

/// Makes the calls of one server's work.
Sample timed(Server const& server, std::function<void()> const& calls);

/// Runs the rounds that decide between servers on a machine that is shared and never still: each round does the same
/// work on each server, one right after the other, and every other round in the reverse order. `measure(server, round)`
/// does the work of one server. The samples come by server, then by round.
std::vector<std::vector<Sample>> interleave(
   std::size_t servers, std::size_t rounds,
   std::function<Sample(std::size_t server, std::size_t round)> const& measure);

/// The middle of the values; of an even number the mean of the two in the middle. At least one value.
double median(std::vector<double> values);

/// Ratios, each between two samples of one round, so that what disturbs a round disturbs both sides.
struct Spread {
   double median = 0;
   double low = 0;
   double high = 0;
};
/// That of one ratio.
inline Spread one(double ratio) { return {ratio, ratio, ratio}; }

/// `member` of `above` divided by that of `below`, round by round.
Spread ratioOfPairs(std::span<Sample const> above, std::span<Sample const> below, double Sample::*member);

/// The median of a member over the rounds.
double medianOf(std::span<Sample const> samples, double Sample::*member);
/// Its mean: for processor time of milliseconds, which the system may count in the round behind.
double meanOf(std::span<Sample const> samples, double Sample::*member);

}  // namespace VelmSdkRpc::Bench
