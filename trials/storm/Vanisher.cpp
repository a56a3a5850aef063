#include "trials/storm/Vanisher.h"

#include <sys/wait.h>

#include <array>
#include <csignal>
#include <spawn.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "trials/storm/Caller.h"

namespace VelmSdkRpc::storm {
namespace {

pid_t spawnSelf(std::vector<std::string> words) {
   words.insert(words.begin(), "/proc/self/exe");
   std::vector<char*> argv;
   for (auto& word : words) argv.push_back(word.data());
   argv.push_back(nullptr);
   pid_t pid = 0;
   if (int const error = posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ); error != 0) {
      throw std::system_error(error, std::generic_category(), "posix_spawn");
   }
   return pid;
}

}  // namespace

Vanisher::Vanisher(std::string address, Weather weather, std::uint32_t seed)
   : address_(std::move(address)), weather_(weather), any_(seed), thread_([this] { run(); }) {}

Vanisher::~Vanisher() {
   {
      std::lock_guard const lock(mutex_);
      stopping_ = true;
   }
   stop_.notify_one();
   thread_.join();
}

void Vanisher::run() {
   while (!isStopping()) {
      std::vector<std::string> words{"--vanish-from", address_, "--seed", std::to_string(any_.upTo(1U << 30U))};
      if (weather_ == Weather::calm) words.emplace_back("--calm");
      auto const pid = spawnSelf(std::move(words));
      waitFor(50 + any_.upTo(1000));
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
   }
}

void Vanisher::waitFor(std::uint32_t milliseconds) {
   std::unique_lock lock(mutex_);
   stop_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return stopping_; });
}

bool Vanisher::isStopping() {
   std::lock_guard const lock(mutex_);
   return stopping_;
}

void Vanisher::vanish(std::string const& address, Weather weather, std::uint32_t seed) {
   Tally tally;
   Findings findings;
   auto const connect = [&] { return connectTo(address); };
   Caller caller(connect, nullptr, tally, findings, seed);
   auto const end = Caller::Clock::now() + std::chrono::seconds(10);  // should its parent have vanished itself
   caller.run(weather, [&] { return Caller::Clock::now() < end; });
}

}  // namespace VelmSdkRpc::storm
