#include "trials/soak/Samples.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <fstream>
#include <unistd.h>

#include "clients/support/Percentiles.h"

namespace VelmSdkRpc::soak {
namespace {

constexpr auto kinds = {"route", "description", "event", "bulk"};

double cpuSeconds(pid_t pid) {
   std::ifstream file(fmt::format("/proc/{}/stat", pid));
   std::string word;
   for (int field = 1; field < 14; ++field) file >> word;  // the program's name has no space
   double user = 0;
   double system = 0;
   file >> user >> system;
   return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::uint64_t queuedWork(SwitchConsole const& console) {
   auto const answer = console.showJson("show switch tasks");
   std::uint64_t sum = 0;
   for (auto const& task : answer["tasks"].GetObject()) sum += task.value["work_pending"].GetUint64();
   return sum;
}

Percentiles timesOf(std::span<Sample const> samples, std::string const& kind) {
   std::vector<double> all;
   for (auto const& sample : samples) {
      auto const& some = sample.times.at(kind);
      all.insert(all.end(), some.begin(), some.end());
   }
   return percentilesOf(std::move(all));
}

std::uint64_t longestQueue(std::span<Sample const> samples) {
   return std::ranges::max(samples, {}, &Sample::queued).queued;
}

}  // namespace

Samples::Samples(AgentProcess const& agent, SwitchConsole const& console, Probe& probe, Controller& controller,
                 trials::Tally const& tally)
   : agent_(agent), console_(console), probe_(probe), controller_(controller), tally_(tally) {}

void Samples::run(std::stop_token const& stop) {
   constexpr auto period = std::chrono::seconds(10);
   for (auto next = Clock::now() + period; trials::awaitTime(stop, next); next += period) samples_.push_back(take());
}

Sample Samples::take() {
   auto const state = trials::AgentState::of(agent_, console_);
   return {.seconds = std::chrono::duration<double>(Clock::now() - begin_).count(),
           .mib = trials::memoryOf(agent_),
           .descriptors = state.descriptors,
           .threads = state.threads,
           .queued = queuedWork(console_),
           .cpuSeconds = cpuSeconds(agent_.pid()),
           .calls = tally_.total(),
           .programmed = controller_.programmed(),
           .times = {{"route", probe_.routes().take()},
                     {"description", probe_.descriptions().take()},
                     {"event", probe_.events().take()},
                     {"bulk", controller_.bulks().take()}}};
}

std::span<Sample const> Samples::quarter(std::size_t index) const {
   auto const begin = samples_.size() * index / 4;
   return std::span(samples_).subspan(begin, samples_.size() * (index + 1) / 4 - begin);
}

double Samples::memorySlope() const {
   auto const half = std::span(samples_).subspan(samples_.size() / 2);
   if (half.size() < 3) return 0;
   double const n = static_cast<double>(half.size());
   double x = 0;
   double y = 0;
   for (auto const& sample : half) {
      x += sample.seconds / 3600 / n;
      y += sample.mib / n;
   }
   double xy = 0;
   double xx = 0;
   for (auto const& sample : half) {
      xy += (sample.seconds / 3600 - x) * (sample.mib - y);
      xx += (sample.seconds / 3600 - x) * (sample.seconds / 3600 - x);
   }
   return xy / xx;
}

std::string Samples::table() const {
   auto text = fmt::format("{:<9}{:>9}{:>8}{:>8}{:>9}", "QUARTER", "MIB", "FILES", "THREADS", "QUEUED");
   for (auto const* kind : kinds) text += fmt::format("{:>30}", fmt::format("{} p50 p99 max ms", kind));
   for (std::size_t i = 0; i < 4; ++i) {
      auto const part = quarter(i);
      if (part.empty()) continue;
      auto const& last = part.back();
      text += fmt::format("\n{:<9}{:>9.1f}{:>8}{:>8}{:>9}", i + 1, last.mib, last.descriptors, last.threads,
                          longestQueue(part));
      for (auto const* kind : kinds) {
         auto const [p50, p99, max] = timesOf(part, kind);
         text += fmt::format("{:>14.2f}{:>8.2f}{:>8.1f}", p50, p99, max);
      }
   }
   return text + fmt::format("\nmemory, over the second half: {:+.2f} MiB an hour\n", memorySlope());
}

std::string Samples::json() const {
   std::vector<std::string> quarters;
   for (std::size_t i = 0; i < 4; ++i) {
      auto const part = quarter(i);
      if (part.empty()) continue;
      auto const& last = part.back();
      auto row = fmt::format(R"({{"resident_mib": {:.1f}, "descriptors": {}, "threads": {}, "longest_queue": {})",
                             last.mib, last.descriptors, last.threads, longestQueue(part));
      for (auto const* kind : kinds) {
         auto const [p50, p99, max] = timesOf(part, kind);
         row += fmt::format(R"(, "{}_ms": [{:.3f}, {:.3f}, {:.3f}])", kind, p50, p99, max);
      }
      quarters.push_back(row + "}");
   }
   std::vector<std::string> course;
   for (auto const& sample : samples_) course.push_back(fmt::format("[{:.0f}, {:.1f}]", sample.seconds, sample.mib));
   auto const& last = samples_.back();
   return fmt::format(
      "{{\n \"seconds\": {:.0f}, \"calls\": {}, \"routes_programmed\": {}, \"resyncs\": {}, \"cpu_seconds\": {:.1f},\n"
      " \"memory_slope_mib_per_hour\": {:.3f},\n \"quarters\": [\n  {}\n ],\n \"memory\": [{}]\n}}\n",
      last.seconds, last.calls, last.programmed, controller_.resyncs(), last.cpuSeconds, memorySlope(),
      fmt::join(quarters, ",\n  "), fmt::join(course, ", "));
}

}  // namespace VelmSdkRpc::soak
