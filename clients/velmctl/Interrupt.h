#pragma once

#include <grpcpp/client_context.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace VelmSdkRpc::ctl {

/// SIGINT and SIGTERM, taken by a thread of its own: the first one ends the calls under way, and whoever waits says in
/// order how far it came; the second one ends the process at once.
///
/// There is one in the process, made before any other thread, for that would take the signals. All threads may use it.
class Interrupt {
 public:
   Interrupt();
   ~Interrupt();
   Interrupt(Interrupt const&) = delete;
   Interrupt& operator=(Interrupt const&) = delete;

   bool isRaised() const { return raised_; }
   /// Throws Interrupted if it is raised.
   void check() const;
   /// Waits until there is something to read from the file; false, and it is raised, if that came first.
   bool awaitInput(int file) const;

   /// While it exists, the call is cancelled by the interrupt; at once if that has been before.
   class Guard {
    public:
      Guard(Interrupt& interrupt, grpc::ClientContext& call);
      ~Guard();
      Guard(Guard const&) = delete;
      Guard& operator=(Guard const&) = delete;

    private:
      Interrupt& interrupt_;
      grpc::ClientContext& call_;
   };

 private:
   void raise();

   int const stop_;    // eventfd: the thread is to end
   int const notice_;  // eventfd: raised
   int const signals_;
   std::atomic<bool> raised_ = false;
   std::mutex mutex_;
   std::set<grpc::ClientContext*> calls_;  // guarded by mutex_
   std::thread thread_;
};

}  // namespace VelmSdkRpc::ctl
