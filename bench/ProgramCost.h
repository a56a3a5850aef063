#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "bench/Lab.h"

struct Cost;

namespace VelmSdkRpc::Bench {

/// What the switch's program spends on a frame, without devices: its own source, run over and over by the kernel with
/// the tables of the agent that is at work in a lab.
class ProgramCost {
 public:
   /// Destinations are as on the wire. Throws std::runtime_error where the kernel refuses.
   ProgramCost(Lab const& lab, std::vector<std::uint32_t> const& destinations);
   ~ProgramCost();
   ProgramCost(ProgramCost const&) = delete;
   ProgramCost& operator=(ProgramCost const&) = delete;

   /// Nanoseconds for a frame, the frame's making left out, over as many as there are routes in a large table. Throws
   /// std::runtime_error if one is not forwarded.
   double measure() const;

 private:
   struct Close {
      void operator()(::Cost* skeleton) const;
   };

   Lab const& lab_;
   std::uint32_t device_;
   std::unique_ptr<::Cost, Close> skeleton_;
};

}  // namespace VelmSdkRpc::Bench
