#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "trials/storm/StormMessage.h"
#include "trials/storm/Tally.h"

namespace VelmSdkRpc::storm {

/// Clients that vanish: processes of this program that call the agent until they are killed by SIGKILL, one after the
/// other, for as long as this object is. Their calls are not counted.
class Vanisher {
 public:
   Vanisher(std::string address, Weather weather, std::uint32_t seed);
   ~Vanisher();
   Vanisher(Vanisher const&) = delete;
   Vanisher& operator=(Vanisher const&) = delete;

   /// What such a process does: it returns only if nobody kills it.
   static void vanish(std::string const& address, Weather weather, std::uint32_t seed);

 private:
   void run();
   /// Until it is over, or this object ends.
   void waitFor(std::uint32_t milliseconds);
   bool isStopping();

   std::string const address_;
   Weather const weather_;
   StormMessage any_;
   std::mutex mutex_;
   std::condition_variable stop_;
   bool stopping_ = false;  // guarded by mutex_
   std::thread thread_;     // last: it uses the others
};

}  // namespace VelmSdkRpc::storm
