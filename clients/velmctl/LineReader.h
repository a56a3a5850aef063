#pragma once

#include <cstddef>
#include <string>

#include "clients/velmctl/Interrupt.h"

namespace VelmSdkRpc::ctl {

/// Standard input, line by line; an interrupt ends the wait for the next line.
class LineReader {
 public:
   explicit LineReader(Interrupt const& interrupt) : interrupt_(interrupt) {}

   /// False at the end. Throws Interrupted, and std::system_error for an input that fails.
   bool next(std::string& line);
   /// The number of the line that came last, from 1.
   std::size_t number() const { return number_; }

 private:
   bool fill();

   Interrupt const& interrupt_;
   std::string buffer_;
   std::size_t number_ = 0;
};

}  // namespace VelmSdkRpc::ctl
