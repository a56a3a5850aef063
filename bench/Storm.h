#pragma once

#include <chrono>
#include <cstddef>

namespace VelmSdkRpc::Bench {

/// Keys of an agent that the switch's command line changes as fast as it can, and a client that watches all of them.
/// Everything throws std::runtime_error if a call or the watch fails.
class Storm {
 public:
   using Clock = std::chrono::steady_clock;

   Storm() = default;
   Storm(Storm const&) = delete;
   Storm& operator=(Storm const&) = delete;
   virtual ~Storm() = default;

   /// In one call: makes so many changes, each of which is one event, and waits for the answer. They go round all keys:
   /// number n is of key n % keys.
   virtual void change(std::size_t first, std::size_t changes) = 0;

   /// Watches from now on, until hearOut. `end` is the number behind that of the last change that will be made; all
   /// keys will have been changed by then.
   virtual void listen(std::size_t end) = 0;

   struct Heard {
      std::size_t messages = 0;  // that tell of a change
      Clock::time_point last;    // when the last of them came
   };
   /// Waits until the watch has told of the last change of every key.
   virtual Heard hearOut() = 0;
};

}  // namespace VelmSdkRpc::Bench
