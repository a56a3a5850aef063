#include "trials/support/AgentState.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/support/Eventually.h"

namespace VelmSdkRpc::trials {
namespace {

using Iterator = std::filesystem::directory_iterator;

Iterator entries(AgentProcess const& agent, char const* folder) {
   return Iterator(fmt::format("/proc/{}/{}", agent.pid(), folder));
}

std::ptrdiff_t sizeOf(Iterator const& folder) { return std::distance(folder, Iterator()); }

// A descriptor that is closed meanwhile is none.
std::ptrdiff_t socketsAmong(Iterator const& descriptors) {
   return std::count_if(begin(descriptors), Iterator(), [](auto const& descriptor) {
      std::error_code error;
      return std::filesystem::read_symlink(descriptor, error).string().starts_with("socket:");
   });
}

}  // namespace

AgentState AgentState::of(AgentProcess const& agent, SwitchConsole const& console) {
   auto watches = console.show("show switch watches");  // first: it may be what connects the console
   // A client's library may keep the connection of a channel that was dropped; that is not the agent's doing. It may
   // also close it between the looks at our end and at the agent's: then both are looked at again.
   for (;;) {
      auto const ours = socketsAmong(Iterator("/proc/self/fd"));
      auto const connections = socketsAmong(entries(agent, "fd")) - ours;
      auto const descriptors = sizeOf(entries(agent, "fd")) - ours;
      if (socketsAmong(Iterator("/proc/self/fd")) != ours) continue;
      return {connections, descriptors, sizeOf(entries(agent, "task")), std::move(watches)};
   }
}

std::string AgentState::excessOver(AgentState const& before) const {
   // gRPC's executor grows with its load, up to two threads for each processor, and its timers have a thread more each
   // time that all of theirs are busy. Neither shrinks; a thread that polls has a descriptor.
   constexpr std::ptrdiff_t timerThreads = 2;
   auto const growth = timerThreads + static_cast<std::ptrdiff_t>(2 * std::thread::hardware_concurrency());
   if (connections > before.connections) {
      return fmt::format("{} connections too many", connections - before.connections);
   }
   if (descriptors > before.descriptors + growth) {
      return fmt::format("{} open files too many", descriptors - before.descriptors);
   }
   if (threads > before.threads + growth) return fmt::format("{} threads, not {}", threads, before.threads);
   if (watches != before.watches) return fmt::format("the switch is watched: {}, not {}", watches, before.watches);
   return {};
}

std::string excessOfClients(AgentProcess const& agent, SwitchConsole const& console, AgentState const& before) {
   std::string excess;
   eventually(
      [&] {
         excess = AgentState::of(agent, console).excessOver(before);
         return excess.empty();
      },
      std::chrono::seconds(20));
   return excess;
}

std::string faultOfEnd(AgentProcess& agent) {
   agent.signal(SIGTERM);
   auto const status = agent.waitForEnd(std::chrono::seconds(60));
   if (!status) return "the agent has not ended";
   if (!WIFEXITED(*status) || WEXITSTATUS(*status) != 0) return fmt::format("the agent has ended with {:#x}", *status);
   return alarmIn(agent.stderrText()) == std::string::npos ? "" : "the agent wrote: " + lastWords(agent);
}

double memoryOf(AgentProcess const& agent) {
   std::ifstream status(fmt::format("/proc/{}/status", agent.pid()));
   for (std::string word; status >> word;) {
      if (double kib = 0; word == "RssAnon:" && status >> kib) return kib / 1024;
   }
   throw std::runtime_error("the agent has gone");
}

std::size_t alarmIn(std::string const& words) {
   auto first = std::string::npos;
   for (auto const* alarm : {"Sanitizer", "runtime error", "assertion failed", "terminate called", "panic"}) {
      first = std::min(first, words.find(alarm));
   }
   return first;
}

std::string lastWords(AgentProcess const& agent) {
   constexpr std::size_t most = 20000;
   auto const words = agent.stderrText();
   auto const alarm = alarmIn(words);
   if (alarm != std::string::npos) return words.substr(alarm - std::min<std::size_t>(alarm, 1000), most);
   return words.substr(words.size() - std::min<std::size_t>(words.size(), 2000));
}

}  // namespace VelmSdkRpc::trials
