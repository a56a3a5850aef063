#pragma once

#include <string>

#include "trials/support/SelfProcess.h"

namespace VelmSdkRpc::chaos {

/// A client in a process of its own that holds watches of all kinds, so many of each, and with `reads` reads the table
/// of routes again and again. It says "ready" once all watches are, and "heard" when it has heard the last state of
/// every key on each; "over" begins a line about a watch that has ended.
class Reader : public trials::SelfProcess {
 public:
   explicit Reader(std::string const& address, int watches = 1, bool reads = true)
      : SelfProcess({"--read", address, std::to_string(watches), reads ? "1" : "0"}) {}

   /// The work of the process, until it is killed.
   [[noreturn]] static void run(std::string const& address, int watches, bool reads);
};

}  // namespace VelmSdkRpc::chaos
