#include "bench/RttStorm.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <vector>

#include "bench/CommandLine.h"
#include "bench/SbfdEchoSessions.h"
#include "bench/SbfdWatch.h"

namespace VelmSdkRpc::Bench {
namespace {

using Clock = std::chrono::steady_clock;
using Lists = std::vector<CommandLine::Commands>;

constexpr std::uint32_t usualRtt = 250;
constexpr std::uint32_t lastRtt = std::numeric_limits<std::uint32_t>::max();

// Figures of all sessions.
Lists listsOf(RttStorm::Options const& options, std::uint32_t rtt) {
   Lists lists;
   for (Place place = 0; place < options.sessions; ++place) {
      if (place % options.list == 0) lists.emplace_back();
      lists.back().add_commands(SbfdEchoSessions::simulateRtt(place, rtt));
   }
   return lists;
}

double lastFiguresOf(SbfdBatch const& batch) {
   auto const updates = batch.parse();
   return static_cast<double>(
      std::ranges::count_if(updates.bulk(), [](auto const& update) { return update.rtt().last_rtt() == lastRtt; }));
}

}  // namespace

/// The clients.
struct RttStorm::Listening {
   Listening(Server const& server, Options const& options) : commandLine(client, server.newChannel()) {
      std::vector<std::shared_ptr<grpc::Channel>> channels;
      for (std::size_t i = 0; i < options.connections; ++i) channels.push_back(server.newChannel());
      for (std::size_t i = 0; i < options.listeners; ++i) {
         watches.emplace_back(client, channels[i % channels.size()], [this](SbfdBatch const& batch) { hear(batch); });
      }
      awaitOpen(commandLine, watches);
   }

   void hear(SbfdBatch const& batch) {
      if (ending) {
         lastFigures += lastFiguresOf(batch);
      } else if (batch.first().has_rtt()) {
         ++batches;
         figures += static_cast<double>(batch.size());
      }
   }

   Client client;
   CommandLine commandLine;
   double batches = 0;
   double figures = 0;
   bool ending = false;
   double lastFigures = 0;
   std::deque<SbfdWatch> watches{};
};

RttStorm::RttStorm(Server const& server, Options const& options)
   : server_(server), options_(options), thread_([this] {
        try {
           run();
        } catch (...) {
           failure_ = std::current_exception();
        }
        begun_ = true;
        begun_.notify_one();
     }) {
   begun_.wait(false);
}

RttStorm::~RttStorm() {
   over_ = true;
   if (thread_.joinable()) thread_.join();
}

RttStorm::Tally RttStorm::stop() {
   over_ = true;
   thread_.join();
   if (failure_) std::rethrow_exception(failure_);
   return tally_;
}

void RttStorm::run() {
   Listening listening(server_, options_);
   begun_ = true;
   begun_.notify_one();
   tally_ = storm(listening);
   listening.ending = true;
   for (auto const& list : listsOf(options_, lastRtt)) listening.commandLine.run(list);
   auto const answered = Clock::now();
   auto const awaited = static_cast<double>(options_.sessions * options_.listeners);
   listening.client.runUntil([&] { return listening.lastFigures == awaited; });
   tally_.last = std::chrono::duration<double, std::milli>(Clock::now() - answered).count();
}

RttStorm::Tally RttStorm::storm(Listening& listening) {
   auto const lists = listsOf(options_, usualRtt);
   listening.batches = 0;
   listening.figures = 0;
   auto const cpuBefore = server_.cpuSeconds();
   auto const begin = Clock::now();
   double raised = 0;
   for (auto next = lists.begin(); !over_; raised += next->commands_size(), ++next) {
      if (next == lists.end()) next = lists.begin();
      listening.commandLine.run(*next);
   }
   auto const seconds = std::chrono::duration<double>(Clock::now() - begin).count();
   auto const cpu = server_.cpuSeconds() - cpuBefore;
   return {.raised = raised / seconds,
           .heard = listening.figures / static_cast<double>(options_.listeners) / seconds,
           .figures = listening.figures / listening.batches,
           .cpu = cpu / seconds,
           .cpuPerHeard = cpu / listening.figures * 1e6};
}

}  // namespace VelmSdkRpc::Bench
