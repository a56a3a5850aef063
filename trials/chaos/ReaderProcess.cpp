#include "trials/chaos/ReaderProcess.h"

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include "proto/remote/ip_route.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"
#include "trials/chaos/Watches.h"
#include "trials/storm/Caller.h"

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
      auto const stream = watch(kind, channel);
      if (std::string(nameOf(kind)) == "sbfd") {
         askBehind(channel);
      } else {
         stream->next();
      }
      began();
      LastStates states(kind);
      bool heard = false;
      while (auto const events = stream->next()) {
         for (auto const& event : *events) states.hear(event);
         if (auto const now = states.allHeard(); now != heard) {
            heard = now;
            say(fmt::format("{} {}", now ? "heard" : "more", nameOf(kind)).c_str());
            (heard ? ++heard_ : --heard_) == static_cast<int>(threads_.size()) ? say("heard") : void();
         }
      }
      say(fmt::format("over: {} {}", nameOf(kind), stream->finish().error_message()).c_str());
   }
   // This stream tells no client that it has begun; what is taken behind its call does.
   static void askBehind(std::shared_ptr<grpc::Channel> const& channel) {
      grpc::ClientContext context;
      pb::rpc_server_state_status_msg answer;
      pb::velmsdk_service::NewStub(channel)->get_rpc_server_state(&context, {}, &answer);
   }
   void began() {
      if (--open_ == 0) say("ready");
   }
   void say(char const* word) {
      std::lock_guard const lock(mutex_);
      auto const line = fmt::format("{}\n", word);
      [[maybe_unused]] auto const written = write(STDOUT_FILENO, line.data(), line.size());
   }

   std::mutex mutex_;  // one word at a time
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
      while (reader->Read(&response)) {
      }
      ok = reader->Finish().ok();
   }
}

}  // namespace

void ReaderProcess::run(std::string const& address, int watches) {
   prctl(PR_SET_PDEATHSIG, SIGKILL);
   Listeners listeners;
   auto const channel = storm::connectTo(address);
   for (int i = 0; i < watches; ++i) {
      for (std::size_t kind = 0; kind < watchKinds; ++kind) listeners.listen(kind, channel);
   }
   listeners.allThere();
   readRoutes(storm::connectTo(address));
   for (;;) pause();
}

ReaderProcess::ReaderProcess(std::string const& address, int watches) {
   std::array<int, 2> ends{};
   if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe2");
   std::vector<std::string> words{"/proc/self/exe", "--read", address, std::to_string(watches)};
   std::vector<char*> argv;
   for (auto& word : words) argv.push_back(word.data());
   argv.push_back(nullptr);
   posix_spawn_file_actions_t actions;
   posix_spawn_file_actions_init(&actions);
   posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
   int const error = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
   posix_spawn_file_actions_destroy(&actions);
   close(ends[1]);
   stdout_ = ends[0];
   if (error != 0) throw std::system_error(error, std::generic_category(), "posix_spawn");
}

ReaderProcess::~ReaderProcess() {
   signal(SIGKILL);
   waitpid(pid_, nullptr, 0);
   close(stdout_);
}

void ReaderProcess::signal(int number) const { kill(pid_, number); }

bool ReaderProcess::says(std::string const& word, std::chrono::milliseconds timeout) {
   auto const deadline = std::chrono::steady_clock::now() + timeout;
   while (words_.find(word + '\n') == std::string::npos) {
      auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd readable{.fd = stdout_, .events = POLLIN, .revents = 0};
      if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) != 1) return false;
      std::array<char, 256> buffer;
      auto const size = read(stdout_, buffer.data(), buffer.size());
      if (size <= 0) return false;
      words_.append(buffer.data(), static_cast<std::size_t>(size));
   }
   return true;
}

}  // namespace VelmSdkRpc::chaos
