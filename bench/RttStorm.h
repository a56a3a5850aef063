#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>

#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// Other clients: one that has the switch report RTT figures, list of commands behind list without pause, and some that
/// listen. They have a thread of their own.
class RttStorm {
 public:
   struct Options {
      std::size_t sessions = 2000;  // that the figures are of, in turn
      std::size_t list = 2000;      // figures raised by one call
      std::size_t listeners = 8;
      std::size_t connections = 2;  // of the listeners
   };
   struct Tally {
      double raised = 0;       // figures a second
      double heard = 0;        // by each listener, figures a second
      double figures = 0;      // in a batch
      double last = 0;         // milliseconds from the last answer until the last figure of each session had arrived
      double cpu = 0;          // of the server, in processors
      double cpuPerHeard = 0;  // of the server, microseconds for each figure to each listener
   };

   /// Begins, and returns once all listen. The server stays the caller's.
   RttStorm(Server const& server, Options const& options);
   ~RttStorm();
   RttStorm(RttStorm const&) = delete;
   RttStorm& operator=(RttStorm const&) = delete;

   /// Ends and makes sure that every listener gets the last figures of every session. Throws what went wrong.
   Tally stop();

 private:
   struct Listening;

   void run();
   Tally storm(Listening& listening);

   Server const& server_;
   Options const options_;
   std::atomic<bool> begun_ = false;  // or has failed to
   std::atomic<bool> over_ = false;
   Tally tally_{};                 // the thread's, until it has ended
   std::exception_ptr failure_{};  // the same
   std::thread thread_;
};

}  // namespace VelmSdkRpc::Bench
