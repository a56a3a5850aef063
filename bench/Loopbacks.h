#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/CommandLine.h"
#include "bench/Server.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {

/// Loopback interfaces of an agent, made and described by the switch's command line.
class Loopbacks {
 public:
   /// Makes so many. Client and server stay the caller's. Here and below, std::runtime_error if a command fails.
   Loopbacks(Client& client, Server const& server, std::size_t count);

   std::size_t count() const { return count_; }

   /// In one call: makes so many changes, each of which is one event. They go round all interfaces: number 0 gives the
   /// first the description of turn 0, number count() the same that of turn 1. Waits for the answer.
   void change(std::size_t first, std::size_t changes);
   /// The changes of a turn.
   void describe(std::size_t turn) { change(turn * count_, count_); }

   static std::string descriptionOf(std::size_t turn) { return "turn-" + std::to_string(turn); }
   /// Which one an event is of; nothing if it tells of something other than a description.
   static std::optional<std::size_t> described(IntfWatch::Event const& event);

 private:
   CommandLine commandLine_;
   std::size_t const count_;
};

}  // namespace VelmSdkRpc::Bench
