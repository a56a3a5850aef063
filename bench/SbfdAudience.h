#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "bench/CommandLine.h"
#include "bench/Delay.h"
#include "bench/SbfdWatch.h"
#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// A client that listens for sBFD updates, and one that gives the switch commands, on a connection of its own.
class SbfdAudience {
 public:
   using Commands = CommandLine::Commands;
   using Awaited = std::function<bool(SbfdBatch const&)>;

   /// Listens when it is made. Here and below, std::runtime_error if something fails. The server stays the caller's.
   explicit SbfdAudience(Server const& server);

   void run(Commands const& commands) { commandLine_.run(commands); }
   /// Gives one command and waits until it is answered and a batch has come that `awaited` recognises, which is asked
   /// about every batch.
   Delay change(std::string const& command, Awaited const& awaited);

 private:
   Client client_;
   CommandLine commandLine_;
   Awaited const* awaited_ = nullptr;  // while something is
   Delay::Time heardAt_;
   SbfdWatch watch_;
};

}  // namespace VelmSdkRpc::Bench
