#include "trials/chaos/Reader.h"

#include <fmt/format.h>
#include <sys/prctl.h>

#include <atomic>
#include <csignal>
#include <list>
#include <mutex>
#include <thread>
#include <unistd.h>

#include "proto/remote/ip_route.grpc.pb.h"
#include "trials/chaos/Watches.h"
#include "trials/support/Caller.h"

namespace VelmSdkRpc::chaos {
namespace {

/// The watches of the process, and what it says of them.
class Listeners {
 public:
   void listen(std::size_t kind, std::shared_ptr<grpc::Channel> const& channel) {
      ++open_;
      threads_.emplace_back([this, kind, channel] { run(kind, channel); });
   }
   void allThere() { began(); }

 private:
   void run(std::size_t kind, std::shared_ptr<grpc::Channel> const& channel) {
      auto const stream = watch(kind, channel, true);
      began();
      LastStates states(kind);
      bool heard = false;
      while (auto const message = stream->next()) {
         states.hear(*message);
         if (states.allHeard() == heard) continue;
         heard = !heard;
         say(fmt::format("{} {}", heard ? "heard" : "more", nameOf(kind)));
         if ((heard ? ++heard_ : --heard_) == static_cast<int>(threads_.size())) say("heard");
      }
      say(fmt::format("over: {} {}", nameOf(kind), stream->status().error_message()));
   }
   void began() {
      if (--open_ == 0) say("ready");
   }
   void say(std::string const& words) {
      std::lock_guard const lock(mutex_);
      auto const line = words + '\n';
      [[maybe_unused]] auto const written = write(STDOUT_FILENO, line.data(), line.size());
   }

   std::mutex mutex_;  // one line at a time
   std::atomic<int> open_ = 1;
   std::atomic<int> heard_ = 0;
   std::list<std::thread> threads_;
};

void readRoutes(std::shared_ptr<grpc::Channel> const& channel) {
   auto const stub = velm::remote::IpRouteMgrService::NewStub(channel);
   for (bool ok = true; ok;) {
      grpc::ClientContext context;
      velm::remote::IpRoutesResponse response;
      auto const reader = stub->ip_routes(&context, {});
      while (reader->Read(&response)) continue;
      ok = reader->Finish().ok();
   }
}

}  // namespace

void Reader::run(std::string const& address, int watches, bool reads) {
   prctl(PR_SET_PDEATHSIG, SIGKILL);
   Listeners listeners;
   auto const channel = trials::connectTo(address);
   for (int i = 0; i < watches; ++i) {
      for (std::size_t kind = 0; kind < watchKinds; ++kind) listeners.listen(kind, channel);
   }
   listeners.allThere();
   if (reads) readRoutes(trials::connectTo(address));
   for (;;) pause();
}

}  // namespace VelmSdkRpc::chaos
