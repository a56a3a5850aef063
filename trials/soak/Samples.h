#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "trials/soak/Controller.h"
#include "trials/soak/Halt.h"
#include "trials/soak/Probe.h"
#include "trials/storm/AgentState.h"
#include "trials/storm/Tally.h"

namespace VelmSdkRpc::soak {

/// What the agent looked like at a moment, and how fast it was since the one before.
struct Sample {
   double seconds = 0;              // since the begin of the run
   double residentMib = 0;          // memory of its own; without the state folder's file, which the kernel maps for it
   std::ptrdiff_t descriptors = 0;  // beyond those that the clients hold open themselves
   std::ptrdiff_t threads = 0;
   std::uint64_t queued = 0;  // keys that wait in all of its queues
   double cpuSeconds = 0;     // so far
   std::uint64_t calls = 0;   // random ones, so far
   std::uint64_t programmed = 0;
   std::map<std::string, std::vector<double>> times;  // in milliseconds
};

/// Takes a sample every ten seconds, and writes each as a line of a CSV file.
class Samples {
 public:
   Samples(AgentProcess const& agent, storm::Console const& console, Probe& probe, Controller& controller,
           storm::Tally const& tally, std::string const& csv);

   /// Until the end of the run. Throws std::runtime_error if the agent does not answer.
   void run(Halt const& halt);

   std::vector<Sample> const& all() const { return samples_; }

 private:
   Sample take();
   void write(Sample const& sample);

   AgentProcess const& agent_;
   storm::Console const& console_;
   Probe& probe_;
   Controller& controller_;
   storm::Tally const& tally_;
   Clock::time_point const begin_ = Clock::now();
   std::ofstream csv_;
   std::vector<Sample> samples_;
};

}  // namespace VelmSdkRpc::soak
