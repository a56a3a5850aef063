#pragma once

#include <span>
#include <string>

#include "trials/soak/Samples.h"

namespace VelmSdkRpc::soak {

/// What a run comes to, told by quarters, and by the slope of its second half: what begins with an empty agent takes
/// memory at first, but it must not go on.
class Summary {
 public:
   explicit Summary(std::span<Sample const> samples) : samples_(samples) {}

   /// MiB an hour, by least squares. 0 for fewer than three samples.
   double memorySlope() const;
   /// A table for people.
   std::string table() const;
   /// The same for programs, with the course of the memory; `resyncs` is told beside.
   std::string json(std::uint64_t resyncs) const;

 private:
   std::span<Sample const> quarter(std::size_t index) const;

   std::span<Sample const> const samples_;
};

}  // namespace VelmSdkRpc::soak
