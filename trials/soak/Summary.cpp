#include "trials/soak/Summary.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <vector>

#include "trials/soak/Latencies.h"

namespace VelmSdkRpc::soak {
namespace {

using Quarter = std::span<Sample const>;

Percentiles times(Quarter quarter, std::string const& what) {
   std::vector<double> all;
   for (auto const& sample : quarter) {
      auto const& some = sample.times.at(what);
      all.insert(all.end(), some.begin(), some.end());
   }
   return percentilesOf(std::move(all));
}

std::uint64_t longestQueue(Quarter quarter) { return std::ranges::max(quarter, {}, &Sample::queued).queued; }

constexpr auto what = {"route", "description", "event", "bulk"};

}  // namespace

Quarter Summary::quarter(std::size_t index) const {
   auto const begin = samples_.size() * index / 4;
   return samples_.subspan(begin, samples_.size() * (index + 1) / 4 - begin);
}

double Summary::memorySlope() const {
   auto const half = samples_.subspan(samples_.size() / 2);
   if (half.size() < 3) return 0;
   double const n = static_cast<double>(half.size());
   double x = 0;
   double y = 0;
   for (auto const& sample : half) {
      x += sample.seconds / 3600 / n;
      y += sample.residentMib / n;
   }
   double xy = 0;
   double xx = 0;
   for (auto const& sample : half) {
      xy += (sample.seconds / 3600 - x) * (sample.residentMib - y);
      xx += (sample.seconds / 3600 - x) * (sample.seconds / 3600 - x);
   }
   return xy / xx;
}

std::string Summary::table() const {
   auto text = fmt::format("{:<9}{:>9}{:>8}{:>8}{:>9}", "QUARTER", "MIB", "FILES", "THREADS", "QUEUED");
   for (auto const* each : what) text += fmt::format("{:>30}", fmt::format("{} p50 p99 max ms", each));
   text += '\n';
   for (std::size_t i = 0; i < 4; ++i) {
      auto const part = quarter(i);
      if (part.empty()) continue;
      auto const& last = part.back();
      text += fmt::format("{:<9}{:>9.1f}{:>8}{:>8}{:>9}", i + 1, last.residentMib, last.descriptors, last.threads,
                          longestQueue(part));
      for (auto const* each : what) {
         auto const [p50, p99, max] = times(part, each);
         text += fmt::format("{:>14.2f}{:>8.2f}{:>8.1f}", p50, p99, max);
      }
      text += '\n';
   }
   return text + fmt::format("memory, over the second half: {:+.2f} MiB an hour\n", memorySlope());
}

std::string Summary::json(std::uint64_t resyncs) const {
   std::vector<std::string> quarters;
   for (std::size_t i = 0; i < 4; ++i) {
      auto const part = quarter(i);
      if (part.empty()) continue;
      auto const& last = part.back();
      auto row = fmt::format(R"({{"resident_mib": {:.1f}, "descriptors": {}, "threads": {}, "longest_queue": {})",
                             last.residentMib, last.descriptors, last.threads, longestQueue(part));
      for (auto const* each : what) {
         auto const [p50, p99, max] = times(part, each);
         row += fmt::format(R"(, "{}_ms": [{:.3f}, {:.3f}, {:.3f}])", each, p50, p99, max);
      }
      quarters.push_back(row + "}");
   }
   std::vector<std::string> course;
   for (auto const& sample : samples_)
      course.push_back(fmt::format("[{:.0f}, {:.1f}]", sample.seconds, sample.residentMib));
   auto const& last = samples_.back();
   return fmt::format(
      "{{\n \"seconds\": {:.0f}, \"calls\": {}, \"routes_programmed\": {}, \"resyncs\": {}, \"cpu_seconds\": {:.1f},\n"
      " \"memory_slope_mib_per_hour\": {:.3f},\n \"quarters\": [\n  {}\n ],\n \"memory\": [{}]\n}}\n",
      last.seconds, last.calls, last.programmed, resyncs, last.cpuSeconds, memorySlope(), fmt::join(quarters, ",\n  "),
      fmt::join(course, ", "));
}

}  // namespace VelmSdkRpc::soak
