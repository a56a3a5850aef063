#include "trials/soak/Samples.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <stdexcept>
#include <unistd.h>

#include "trials/soak/Latencies.h"

namespace VelmSdkRpc::soak {
namespace {

constexpr auto period = std::chrono::seconds(10);

double anonymousMib(pid_t pid) {
   std::ifstream file(fmt::format("/proc/{}/status", pid));
   for (std::string word; file >> word;) {
      if (double kib = 0; word == "RssAnon:" && file >> kib) return kib / 1024;
   }
   throw std::runtime_error("the agent has gone");
}

double cpuSeconds(pid_t pid) {
   std::ifstream file(fmt::format("/proc/{}/stat", pid));
   std::string word;
   for (int field = 1; field < 14; ++field) file >> word;  // the program's name has no space
   double user = 0;
   double system = 0;
   file >> user >> system;
   return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::uint64_t queuedWork(storm::Console const& console) {
   rapidjson::Document answer;
   answer.Parse(console.show("show switch tasks").c_str());
   std::uint64_t sum = 0;
   for (auto const& task : answer["tasks"].GetObject()) sum += task.value["work_pending"].GetUint64();
   return sum;
}

}  // namespace

Samples::Samples(AgentProcess const& agent, storm::Console const& console, Probe& probe, Controller& controller,
                 storm::Tally const& tally, std::string const& csv)
   : agent_(agent), console_(console), probe_(probe), controller_(controller), tally_(tally), csv_(csv) {
   if (!csv_) throw std::runtime_error("cannot write " + csv);
   csv_ << "seconds,resident_mib,descriptors,threads,queued,cpu_seconds,calls,routes_programmed";
   for (auto const* what : {"bulk", "description", "event", "route"}) {
      csv_ << fmt::format(",{0}_p50_ms,{0}_p99_ms,{0}_max_ms", what);
   }
   csv_ << '\n';
}

void Samples::run(Halt const& halt) {
   for (auto next = Clock::now() + period; halt.awaitTime(next); next += period) {
      samples_.push_back(take());
      write(samples_.back());
   }
}

Sample Samples::take() {
   auto const state = storm::AgentState::of(agent_, console_);
   return {.seconds = std::chrono::duration<double>(Clock::now() - begin_).count(),
           .residentMib = anonymousMib(agent_.pid()),
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

void Samples::write(Sample const& sample) {
   csv_ << fmt::format("{:.0f},{:.1f},{},{},{},{:.1f},{},{}", sample.seconds, sample.residentMib, sample.descriptors,
                       sample.threads, sample.queued, sample.cpuSeconds, sample.calls, sample.programmed);
   for (auto const& [what, times] : sample.times) {
      auto const [p50, p99, max] = percentilesOf(times);
      csv_ << fmt::format(",{:.3f},{:.3f},{:.3f}", p50, p99, max);
   }
   csv_ << '\n' << std::flush;
}

}  // namespace VelmSdkRpc::soak
