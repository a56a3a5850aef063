#include "bench/Load.h"

#include <chrono>
#include <utility>

// The turns, the seconds and a failure are read after the thread has been joined, and need no lock. Only the
// wish to stop crosses while it runs.
namespace VelmSdkRpc::Bench {

Load::Load(std::function<void()> turn)
   : thread_([this, turn = std::move(turn)] {
        auto const begin = std::chrono::steady_clock::now();
        try {
           for (; !over_; ++turns_) turn();
        } catch (...) {
           failure_ = std::current_exception();
        }
        seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
     }) {}

Load::~Load() {
   over_ = true;
   if (thread_.joinable()) thread_.join();
}

double Load::stop() {
   over_ = true;
   thread_.join();
   if (failure_) std::rethrow_exception(failure_);
   return static_cast<double>(turns_) / seconds_;
}

}  // namespace VelmSdkRpc::Bench
