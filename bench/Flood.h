#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "bench/Lab.h"

struct Flood;

namespace VelmSdkRpc::Bench {

/// Small UDP frames made in the kernel, which go from host 1 of a lab as fast as they can, and the end of those that
/// come to host 2: the programs of Flood.bpf.c. The lab's devices are not to be touched meanwhile.
class FrameFlood {
 public:
   /// Destinations are as on the wire; frames go to them in turn. Throws std::runtime_error where the kernel refuses.
   FrameFlood(Lab const& lab, std::vector<std::uint32_t> const& destinations);
   ~FrameFlood();
   FrameFlood(FrameFlood const&) = delete;
   FrameFlood& operator=(FrameFlood const&) = delete;

   struct Rates {
      double sent = 0;  // frames a second
      double received = 0;
   };
   /// Floods the switch for a while.
   Rates flood(double seconds) const;

 private:
   struct Close {
      void operator()(::Flood* skeleton) const;
   };
   std::uint64_t received() const;

   Lab const& lab_;
   std::unique_ptr<::Flood, Close> skeleton_;
   int sink_ = -1;
};

}  // namespace VelmSdkRpc::Bench
