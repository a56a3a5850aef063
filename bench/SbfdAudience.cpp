#include "bench/SbfdAudience.h"

#include <span>
#include <utility>

namespace VelmSdkRpc::Bench {

SbfdAudience::SbfdAudience(Server const& server)
   : commandLine_(client_, server.newChannel()), watch_(client_, server.newChannel(), [this](SbfdBatch const& batch) {
        auto const now = std::chrono::steady_clock::now();  // whatever it takes to look at it
        if (awaited_ == nullptr || !(*awaited_)(batch)) return;
        heardAt_ = now;
        awaited_ = nullptr;
     }) {
   awaitOpen(commandLine_, std::span(&watch_, 1));
}

Delay SbfdAudience::change(std::string const& command, Awaited const& awaited) {
   Commands commands;
   commands.add_commands(command);
   awaited_ = &awaited;
   auto const begin = std::chrono::steady_clock::now();
   commandLine_.begin(commands);
   client_.runUntil([this] { return commandLine_.answered() && awaited_ == nullptr; });
   commandLine_.finish();
   return {begin, commandLine_.answeredAt(), heardAt_};
}

}  // namespace VelmSdkRpc::Bench
