#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/CommandLine.h"
#include "bench/Server.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {

/// Loopback interfaces of an agent, made and described by the switch's command line, all of them in one call.
class Loopbacks {
 public:
   /// Makes so many. Client and server stay the caller's. Here and below, std::runtime_error if a command fails.
   Loopbacks(Client& client, Server const& server, std::size_t count);

   std::size_t count() const { return count_; }

   /// In one call: gives each the description of the turn, which is one event each, then each that of the next, for so
   /// many turns. Waits for the answer.
   void describe(std::size_t turn, std::size_t turns = 1);

   static std::string descriptionOf(std::size_t turn) { return "turn-" + std::to_string(turn); }
   /// Which one an event is of; nothing if it tells of something other than a description.
   static std::optional<std::size_t> described(Watch::Event const& event);

 private:
   CommandLine commandLine_;
   std::size_t const count_;
};

}  // namespace VelmSdkRpc::Bench
