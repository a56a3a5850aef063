#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <thread>

namespace VelmSdkRpc::Bench {

/// The work of another client, done over and over in a thread of its own while something is measured.
class Load {
 public:
   /// Begins. `turn` is done again and again until the load ends; what it throws ends it.
   explicit Load(std::function<void()> turn);
   /// Ends after the turn that it is in.
   ~Load();
   Load(Load const&) = delete;
   Load& operator=(Load const&) = delete;

   /// Ends as well, and says how many turns were done in a second. Throws what a turn threw. Once.
   double stop();

 private:
   std::atomic<bool> over_ = false;
   std::size_t turns_ = 0;         // the thread's, until it has ended
   double seconds_ = 0;            // the thread's, until it has ended
   std::exception_ptr failure_{};  // the thread's, until it has ended
   std::thread thread_;
};

}  // namespace VelmSdkRpc::Bench
