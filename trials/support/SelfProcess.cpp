#include "trials/support/SelfProcess.h"

#include <sys/wait.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <system_error>
#include <unistd.h>

namespace VelmSdkRpc::trials {

SelfProcess::SelfProcess(std::vector<std::string> arguments) {
   std::array<int, 2> ends{};
   if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe2");
   arguments.insert(arguments.begin(), "/proc/self/exe");
   std::vector<char*> argv;
   for (auto& argument : arguments) argv.push_back(argument.data());
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

SelfProcess::~SelfProcess() {
   signal(SIGKILL);
   waitpid(pid_, nullptr, 0);
   close(stdout_);
}

void SelfProcess::signal(int number) const { kill(pid_, number); }

bool SelfProcess::says(std::string const& line, std::chrono::milliseconds timeout) {
   auto const deadline = std::chrono::steady_clock::now() + timeout;
   while (words_.find(line + '\n') == std::string::npos) {
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

}  // namespace VelmSdkRpc::trials
