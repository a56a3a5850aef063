#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "trials/soak/Controller.h"
#include "trials/soak/Probe.h"
#include "trials/support/AgentState.h"
#include "trials/support/Tally.h"

namespace VelmSdkRpc::soak {

/// The agent at a moment, and how fast it was since the sample before.
struct Sample {
   double seconds = 0;  // since the begin of the run
   double mib = 0;      // memory of its own
   std::ptrdiff_t descriptors = 0;
   std::ptrdiff_t threads = 0;
   std::uint64_t queued = 0;  // keys that wait in all of its queues
   double cpuSeconds = 0;     // so far
   std::uint64_t calls = 0;   // random ones, so far
   std::uint64_t programmed = 0;
   std::map<std::string, std::vector<double>> times;  // in milliseconds
};

/// Takes a sample every ten seconds.
class Samples {
 public:
   Samples(AgentProcess const& agent, SwitchConsole const& console, Probe& probe, Controller& controller,
           trials::Tally const& tally);

   /// Until the stop. Throws std::runtime_error if the agent does not answer.
   void run(std::stop_token const& stop);
   std::vector<Sample> const& all() const { return samples_; }

   /// The run by quarters, as a table for people and as JSON. There must be a sample.
   std::string table() const;
   std::string json() const;
   /// MiB an hour that the memory gains over the second half, by least squares: what begins with an empty agent takes
   /// memory at first, but it must not go on. 0 for fewer than three samples.
   double memorySlope() const;

 private:
   Sample take();
   std::span<Sample const> quarter(std::size_t index) const;

   AgentProcess const& agent_;
   SwitchConsole const& console_;
   Probe& probe_;
   Controller& controller_;
   trials::Tally const& tally_;
   Clock::time_point const begin_ = Clock::now();
   std::vector<Sample> samples_;
};

}  // namespace VelmSdkRpc::soak
