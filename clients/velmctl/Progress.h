#pragma once

#include <chrono>
#include <cstddef>

#include "clients/velmctl/Terminal.h"

namespace VelmSdkRpc::ctl {

/// How far a long work has come, on standard error: a bar on a terminal, which goes with this object, elsewhere a line
/// now and then. Time counts from its construction.
class Progress {
 public:
   Progress(Terminal const& terminal, std::size_t total) : terminal_(terminal), total_(total) {}
   ~Progress();
   Progress(Progress const&) = delete;
   Progress& operator=(Progress const&) = delete;

   /// So much of the total is done. May be said as often as it changes: little of it is shown.
   void is(std::size_t done);
   std::chrono::duration<double> elapsed() const { return Clock::now() - start_; }

 private:
   using Clock = std::chrono::steady_clock;

   void draw(std::size_t done);

   Terminal const& terminal_;
   std::size_t const total_;
   Clock::time_point const start_ = Clock::now();
   Clock::time_point told_ = start_;
   bool hasBar_ = false;
};

}  // namespace VelmSdkRpc::ctl
