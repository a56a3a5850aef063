#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/Report.h"
#include "clients/support/Percentiles.h"

namespace VelmSdkRpc::Bench {

/// How long something took, each time, in milliseconds.
using Times = std::vector<double>;
/// By round.
using Rounds = std::vector<Times>;

/// The percentile of times that is judged besides their median, and the goal for it.
struct Judged {
   double Percentiles::*part = &Percentiles::p99;
   std::optional<double> most{};
};

/// Reports the median of the times and what is judged of them: figures over all rounds together, ratios of pairs of
/// rounds to every rival, who has as many.
void addLatency(Report& report, std::string const& what, Rounds const& own,
                std::vector<std::pair<std::string, Rounds const*>> const& rivals, Judged const& judged,
                std::vector<std::pair<std::string, double>> const& beside = {});

}  // namespace VelmSdkRpc::Bench
